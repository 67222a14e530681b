// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>

#include "wire/BusNames.h"

namespace wicket::companion {

struct ConnectOptions {
  std::string socketPath = wire::socketPath;
  /// Calls end with CallError::interrupted as soon as this descriptor can be read; it is only watched and
  /// must stay open as long as the connection. -1 for none.
  int cancelDescriptor = -1;
};

}  // namespace wicket::companion
