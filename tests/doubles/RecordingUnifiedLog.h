// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "helper/platform/UnifiedLog.h"

namespace wicket::doubles {

/// Keeps every entry as the text that the format "%s - %s" makes of it.
class RecordingUnifiedLog : public UnifiedLog {
 public:
  void setAvailable(bool value) { available_ = value; }
  void setFaultEnabled(bool value) { faultEnabled_ = value; }

  [[nodiscard]] std::vector<std::string> entries() const {
    const std::scoped_lock lock(mutex_);
    return entries_;
  }

  bool isAvailable() const override { return available_; }
  bool isFaultEnabled() const override { return faultEnabled_; }
  void fault(std::string_view text, std::string_view explanation) override {
    const std::scoped_lock lock(mutex_);
    entries_.push_back(std::string(text) + " - " + std::string(explanation));
  }

 private:
  std::atomic<bool> available_{true};
  std::atomic<bool> faultEnabled_{true};
  mutable std::mutex mutex_;
  std::vector<std::string> entries_;
};

}  // namespace wicket::doubles
