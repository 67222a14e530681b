// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <memory>

#include "platform/Connection.h"

namespace wicket {

/// Who may connect.
struct CodesignCheck {
  /// Whether the process at the other end is the companion. Listener's queue.
  [[nodiscard]] static bool isValid(const std::shared_ptr<Connection>& connection);
};

}  // namespace wicket
