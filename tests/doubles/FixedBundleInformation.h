// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "helper/platform/BundleInformation.h"

namespace wicket::doubles {

/// A property list of string values that the test writes. A key that was never set, or was removed,
/// is one that the real list lacks or that holds something other than a string.
class FixedBundleInformation : public BundleInformation {
 public:
  using Values = std::map<std::string, std::string, std::less<>>;

  FixedBundleInformation() = default;
  explicit FixedBundleInformation(Values values) : values_(std::move(values)) {}

  void set(const std::string& key, const std::string& value) {
    const std::scoped_lock lock(mutex_);
    values_[key] = value;
  }
  void remove(const std::string& key) {
    const std::scoped_lock lock(mutex_);
    values_.erase(key);
  }

  std::optional<std::string> stringValue(std::string_view key) override {
    const std::scoped_lock lock(mutex_);
    const auto found = values_.find(key);
    return found == values_.end() ? std::nullopt : std::optional(found->second);
  }

 private:
  std::mutex mutex_;
  Values values_{{"CFBundleVersion", "9417"}};
};

}  // namespace wicket::doubles
