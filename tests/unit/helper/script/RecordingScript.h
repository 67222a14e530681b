// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "helper/script/TlvCoreScript.h"

namespace wicket {

/// A script whose lines and output are kept.
class RecordingScript : public TlvCoreScript {
 public:
  /// Creates the script and keeps it even when it turned out unusable, for a look at its lines.
  struct Creation {
    bool succeeded;
    std::shared_ptr<RecordingScript> script;
  };
  static Creation create(FileManager& fileManager, ChildProcessLauncher& launcher, std::optional<std::string> path,
                         std::string parameters = "", bool doDisplayError = false) {
    const auto script = std::make_shared<RecordingScript>(fileManager, launcher);
    const bool succeeded = script->init(std::move(path), std::move(parameters), doDisplayError);
    return {succeeded, script};
  }

  RecordingScript(FileManager& fileManager, ChildProcessLauncher& launcher) : TlvCoreScript(fileManager, launcher) {}

  [[nodiscard]] std::vector<std::string> lines() const {
    const std::scoped_lock lock(mutex_);
    return lines_;
  }
  [[nodiscard]] std::vector<std::string> output() const {
    const std::scoped_lock lock(mutex_);
    return output_;
  }

  void writeToLog(std::span<const std::byte> data) override {
    const std::scoped_lock lock(mutex_);
    output_.emplace_back(reinterpret_cast<const char*>(data.data()), data.size());
  }
  void writeToLog(std::string_view text) override {
    const std::scoped_lock lock(mutex_);
    lines_.emplace_back(text);
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
  std::vector<std::string> output_;
};

}  // namespace wicket
