// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace wicket {

/// The property list embedded in the executable. Any thread.
class BundleInformation {
 public:
  BundleInformation() = default;
  BundleInformation(const BundleInformation&) = delete;
  BundleInformation& operator=(const BundleInformation&) = delete;
  virtual ~BundleInformation() = default;

  /// The value of @p key; none when it is missing or not a string.
  [[nodiscard]] virtual std::optional<std::string> stringValue(std::string_view key) = 0;
};

}  // namespace wicket
