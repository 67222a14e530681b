// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "helper/platform/ChildProcess.h"
#include "tests/doubles/ScriptedChild.h"

namespace wicket::doubles {

/// A launcher that starts nothing: it records each task as a ScriptedChild, which the test then
/// drives, either afterwards or, with onLaunch(), before launch() returns.
class ScriptedChildProcessLauncher : public ChildProcessLauncher {
 public:
  /// From now on every launch fails with this errno.
  void failWith(int number) {
    const std::scoped_lock lock(mutex_);
    failure_ = LaunchError{number};
  }
  void succeed() {
    const std::scoped_lock lock(mutex_);
    failure_.reset();
  }
  /// Runs on the launching thread for each started child, before launch() returns. Whoever waits for
  /// the exit only begins to after that: end the child on a thread of the test, not here.
  void onLaunch(std::function<void(ScriptedChild&)> script) {
    const std::scoped_lock lock(mutex_);
    script_ = std::move(script);
  }

  [[nodiscard]] std::vector<std::shared_ptr<ScriptedChild>> children() const {
    const std::scoped_lock lock(mutex_);
    return children_;
  }
  /// Launch paths of the attempts, failed ones included.
  [[nodiscard]] std::vector<std::string> attempts() const {
    const std::scoped_lock lock(mutex_);
    return attempts_;
  }

  [[nodiscard]] std::expected<std::shared_ptr<ChildProcess>, LaunchError> launch(ChildProcessTask task) override {
    std::function<void(ScriptedChild&)> script;
    std::shared_ptr<ScriptedChild> child;
    {
      const std::scoped_lock lock(mutex_);
      attempts_.push_back(task.launchPath);
      if (failure_) return std::unexpected(*failure_);
      child = std::make_shared<ScriptedChild>(std::move(task));
      children_.push_back(child);
      script = script_;
    }
    if (script) script(*child);
    return child;
  }

 private:
  mutable std::mutex mutex_;
  std::optional<LaunchError> failure_;
  std::function<void(ScriptedChild&)> script_;
  std::vector<std::shared_ptr<ScriptedChild>> children_;
  std::vector<std::string> attempts_;
};

}  // namespace wicket::doubles
