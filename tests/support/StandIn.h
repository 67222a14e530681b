// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

#include "tests/support/Patience.h"

namespace wicket::support {

/// A process of the program in tests/programs/StandIn.cpp. It starts in the mount namespace of the thread
/// that makes it, and is gone with its owner, together with the children it left.
class StandIn {
 public:
  /// @p steps are the program's arguments.
  StandIn(const std::string& program, const std::vector<std::string>& steps);
  StandIn(const StandIn&) = delete;
  StandIn& operator=(const StandIn&) = delete;
  ~StandIn();

  [[nodiscard]] pid_t pid() const { return pid_; }
  /// Whether it says the line.
  [[nodiscard]] bool awaitSaid(std::string_view line, std::chrono::milliseconds timeout = patience);
  /// Lets it go on from the step "wait".
  void proceed() const;
  /// Kills it and waits until nothing of it is left.
  void end();

 private:
  pid_t pid_ = -1;
  int input_ = -1;
  int output_ = -1;
  std::string said_;
};

}  // namespace wicket::support
