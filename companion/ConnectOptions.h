// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <chrono>
#include <string>

#include "wire/BusNames.h"

namespace wicket::companion {

class GroupPrivilege;

/// Only code can change these. No environment variable and no option of the command leads to another
/// socket: the command's caller may be hostile, and would be given a connection made with the group's rights.
struct ConnectOptions {
  std::string socketPath = wire::socketPath;
  /// Calls end with CallError::interrupted as soon as this descriptor can be read; it is only watched and
  /// must stay open as long as the connection. -1 for none.
  int cancelDescriptor = -1;
  /// What lets this process in: in effect for the call that connects, and given up for good when it returns,
  /// connected or not. Null for a process that connects as it is. Must outlive the call.
  GroupPrivilege* privilege = nullptr;
  /// For what needs nobody's decision: to connect, and for the version. A machine that is busy starts the helper
  /// late. What is asked of a user, and a run, take as long as they take.
  std::chrono::milliseconds timeLimit = std::chrono::seconds(30);
};

}  // namespace wicket::companion
