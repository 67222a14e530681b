// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include "helper/platform/BundleInformation.h"

namespace wicket::macos_adapter {

/// The main bundle's information dictionary: for a bare executable the property list in its section
/// __TEXT,__info_plist.
class MainBundle final : public BundleInformation {
 public:
  std::optional<std::string> stringValue(std::string_view key) override;
};

}  // namespace wicket::macos_adapter
