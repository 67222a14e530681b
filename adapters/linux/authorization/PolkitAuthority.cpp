// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/authorization/PolkitAuthority.h"

namespace wicket::linux_adapter {

std::expected<std::shared_ptr<PolkitConversation>, AuthorizationStatus> PolkitAuthority::conversation() {
  const std::scoped_lock lock(mutex_);
  if (auto underWay = current_.lock(); underWay && !underWay->isOver()) return underWay;
  auto begun = PolkitConversation::begin();
  if (begun) current_ = *begun;
  return begun;
}

}  // namespace wicket::linux_adapter
