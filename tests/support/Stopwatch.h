// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <chrono>
#include <map>
#include <sys/types.h>
#include <vector>

namespace wicket::support {

/// Holds a promised bound against a machine that others use, too: it stands still for as long as the watched processes
/// had something to do and got no processor for it (the run delay in /proc/PID/task/TID/schedstat). So a wait that the
/// program itself causes counts in full, and one that the machine's other users cause does not.
///
/// A thread that has ended takes its run delay with it: look while those that matter are still there.
class Stopwatch {
 public:
  /// Starts. Watches this process and @p others.
  explicit Stopwatch(std::vector<pid_t> others = {});

  /// Since the start.
  [[nodiscard]] std::chrono::nanoseconds elapsed() const;

 private:
  using Clock = std::chrono::steady_clock;
  using DelayOfThread = std::map<pid_t, std::chrono::nanoseconds>;

  [[nodiscard]] DelayOfThread delays() const;

  std::vector<pid_t> processes_;
  DelayOfThread delaysBefore_;
  Clock::time_point started_;
};

}  // namespace wicket::support
