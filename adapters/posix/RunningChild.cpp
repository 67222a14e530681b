// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/posix/RunningChild.h"

#include <sys/wait.h>

#include "base/system/Uninterrupted.h"

namespace wicket::posix {
namespace {

// Only for a child whose status somebody else has collected: it must not look like success.
constexpr int unknownStatus = 255;

int waitForStatus(pid_t pid) {
  int status = 0;
  if (system::uninterrupted([&] { return ::waitpid(pid, &status, 0); }) != pid) return unknownStatus;
  return WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace

void RunningChild::started(pid_t pid) {
  const std::scoped_lock lock(mutex_);
  decided_ = true;
  pid_ = pid;
  changed_.notify_all();
}

void RunningChild::notStarted() {
  const std::scoped_lock lock(mutex_);
  decided_ = true;
  changed_.notify_all();
}

std::optional<pid_t> RunningChild::waitUntilStarted() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return decided_; });
  return pid_;
}

void RunningChild::reap(pid_t pid) {
  const int status = waitForStatus(pid);
  const std::scoped_lock lock(mutex_);
  status_ = status;
  changed_.notify_all();
}

int RunningChild::waitUntilExit() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return status_.has_value(); });
  return *status_;
}

}  // namespace wicket::posix
