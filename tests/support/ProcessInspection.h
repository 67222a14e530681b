// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <sys/types.h>
#include <vector>

namespace wicket::support {

/// What /proc tells about a process.
class ProcessInspection {
 public:
  [[nodiscard]] static bool isAlive(pid_t pid);
  /// 0 when the process is gone.
  [[nodiscard]] static std::size_t residentBytes(pid_t pid);
  [[nodiscard]] static std::size_t threadCount(pid_t pid);
  /// What all its threads together have had of the processors, those that have ended included.
  [[nodiscard]] static std::chrono::nanoseconds processorTime(pid_t pid);
  [[nodiscard]] static std::size_t descriptorCount(pid_t pid);
  [[nodiscard]] static std::vector<pid_t> childrenOf(pid_t pid);
  /// Kills everything that this process still has as a child, adopted grandchildren included, one by one.
  static void endAllChildren();
};

}  // namespace wicket::support
