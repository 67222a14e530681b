// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <algorithm>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "protocol/HelperProtocol.h"
#include "tests/support/Patience.h"

namespace wicket::doubles {

/// An exported object that writes down its calls. What it does in a call is set by the test; by
/// itself it answers a version "1" and every code with 0. Its calls may come from any thread.
class RecordingHelperObject : public HelperProtocol {
 public:
  using Event = std::string;

  /// For a connection, which then has no part in how long it lives: the test sees to it that it lives longer.
  [[nodiscard]] std::shared_ptr<HelperProtocol> unowned() { return {std::shared_ptr<void>(), this}; }

  void getVersion(const VersionCompletion& completion) override {
    record("getVersion");
    if (onVersion) return onVersion(completion);
    completion("1");
  }
  void runCommand(const std::string& filename, const std::vector<std::string>& arguments,
                  const CodeCompletion& completion) override {
    Event event = "runCommand " + filename;
    for (const std::string& argument : arguments) event += " [" + argument + "]";
    answer(std::move(event), completion);
  }
  void installScript(const std::string& path, const AuthorizationData& authData,
                     const CodeCompletion& completion) override {
    answer("installScript " + path + (authData ? " data " + std::to_string(authData->size()) : " no data"), completion);
  }
  void uninstall(bool all) override {
    record(all ? "uninstall all" : "uninstall");
    if (onUninstall) onUninstall();
  }
  void uninstallScriptAt(const std::string& path, const CodeCompletion& completion) override {
    answer("uninstallScriptAt " + path, completion);
  }
  void uninstallScriptWithFilename(const std::string& filename, const CodeCompletion& completion) override {
    answer("uninstallScriptWithFilename " + filename, completion);
  }

  /// Adds something else that happened.
  void record(Event event) {
    const std::scoped_lock lock(mutex_);
    events_.push_back(std::move(event));
    changed_.notify_all();
  }
  [[nodiscard]] std::vector<Event> events() const {
    const std::scoped_lock lock(mutex_);
    return events_;
  }
  /// What happened once it was @p count things, or until the patience of a test is over.
  [[nodiscard]] std::vector<Event> awaitEvents(std::size_t count) const {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, support::patience, [&] { return events_.size() >= count; });
    return events_;
  }

  /// @name Set before the first call
  /// @{
  std::function<void(const VersionCompletion&)> onVersion;
  std::function<void(const CodeCompletion&)> onCode;
  std::function<void()> onUninstall;
  /// @}

 private:
  void answer(Event event, const CodeCompletion& completion) {
    record(std::move(event));
    if (onCode) return onCode(completion);
    completion(reply_code::success);
  }

  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  std::vector<Event> events_;
};

}  // namespace wicket::doubles
