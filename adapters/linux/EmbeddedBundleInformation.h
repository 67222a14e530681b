// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "helper/platform/BundleInformation.h"

namespace wicket::linux_adapter {

/// The strings of the property list inside this executable.
class EmbeddedBundleInformation : public BundleInformation {
 public:
  EmbeddedBundleInformation();
  /// Of another list, given as XML. One that cannot be read has no values.
  explicit EmbeddedBundleInformation(std::string_view propertyList);

  std::optional<std::string> stringValue(std::string_view key) override;

 private:
  const std::map<std::string, std::string, std::less<>> values_;
};

}  // namespace wicket::linux_adapter
