// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <condition_variable>
#include <mutex>
#include <optional>
#include <sys/types.h>

#include "helper/platform/ChildProcess.h"

namespace wicket::posix {

/// The state of one child, shared by the caller and the child's two threads. The threads exist
/// before the child does, so that a child is never started that nobody could look after; they wait
/// here for its start.
class RunningChild : public ChildProcess {
 public:
  /// The launcher's report, exactly one of the two.
  void started(pid_t pid);
  void notStarted();
  /// Blocks until that report; none if there will be no child.
  [[nodiscard]] std::optional<pid_t> waitUntilStarted();

  /// Blocks until the child is gone, reaps it and lets waitUntilExit() return.
  void reap(pid_t pid);
  int waitUntilExit() override;

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool decided_ = false;
  std::optional<pid_t> pid_;
  std::optional<int> status_;
};

}  // namespace wicket::posix
