// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "helper/platform/ChildProcess.h"

namespace wicket::doubles {

/// A child that does what the test tells it. The handlers run on the thread that calls the driving
/// functions, one at a time; each write is one chunk.
class ScriptedChild : public ChildProcess {
 public:
  explicit ScriptedChild(ChildProcessTask task)
      : launchPath_(std::move(task.launchPath)),
        arguments_(std::move(task.arguments)),
        onStandardOutput_(std::move(task.onStandardOutput)),
        onStandardError_(std::move(task.onStandardError)),
        onTermination_(std::move(task.onTermination)) {}

  [[nodiscard]] const std::string& launchPath() const { return launchPath_; }
  [[nodiscard]] const std::vector<std::string>& arguments() const { return arguments_; }

  /// Also after end(): the output of a descendant that still holds the pipes.
  void writeOutput(std::string_view text) { deliver(onStandardOutput_, text); }
  void writeError(std::string_view text) { deliver(onStandardError_, text); }

  /// The child itself ends: whoever waits goes on, then the termination handler runs.
  void end(int status) {
    {
      const std::scoped_lock lock(mutex_);
      if (status_) return;
      status_ = status;
    }
    ended_.notify_all();
    const std::scoped_lock lock(delivery_);
    if (onTermination_) onTermination_(status);
  }

  /// Both streams end, and the handlers are released.
  void closeStreams() {
    const std::scoped_lock lock(delivery_);
    onStandardOutput_ = nullptr;
    onStandardError_ = nullptr;
    onTermination_ = nullptr;
  }

  /// The end of a child without descendants.
  void terminate(int status) {
    end(status);
    closeStreams();
  }

  int waitUntilExit() override {
    std::unique_lock lock(mutex_);
    ended_.wait(lock, [this] { return status_.has_value(); });
    return *status_;
  }

 private:
  void deliver(const std::function<void(std::span<const std::byte>)>& handler, std::string_view text) {
    const std::scoped_lock lock(delivery_);
    if (handler) handler(std::as_bytes(std::span(text)));
  }

  const std::string launchPath_;
  const std::vector<std::string> arguments_;
  std::mutex delivery_;
  std::function<void(std::span<const std::byte>)> onStandardOutput_;
  std::function<void(std::span<const std::byte>)> onStandardError_;
  std::function<void(int)> onTermination_;
  std::mutex mutex_;
  std::condition_variable ended_;
  std::optional<int> status_;
};

}  // namespace wicket::doubles
