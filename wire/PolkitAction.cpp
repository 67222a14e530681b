// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "wire/PolkitAction.h"

#include <algorithm>

namespace wicket::wire {

std::string polkitAction(std::string_view rightName) {
  std::string action(rightName);
  std::ranges::replace(action, ':', '-');
  return action;
}

}  // namespace wicket::wire
