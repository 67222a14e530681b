// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <utility>

#include "helper/platform/ServiceJob.h"

namespace wicket::doubles {

/// Hands out a line that the test may choose and that is harmless when it is really run.
class RecordingServiceJob : public ServiceJob {
 public:
  RecordingServiceJob() = default;
  explicit RecordingServiceJob(std::string commandLine) : commandLine_(std::move(commandLine)) {}

  void setRemovalCommandLine(const std::string& commandLine) {
    const std::scoped_lock lock(mutex_);
    commandLine_ = commandLine;
  }
  [[nodiscard]] int numberOfRequests() const { return requests_; }

  std::string removalCommandLine() override {
    ++requests_;
    const std::scoped_lock lock(mutex_);
    return commandLine_;
  }

 private:
  std::mutex mutex_;
  std::atomic<int> requests_{0};
  std::string commandLine_ = "true && true";
};

}  // namespace wicket::doubles
