// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string_view>

namespace wicket::resources {

/// The property lists inside this executable, as XML text.
class EmbeddedPropertyLists {
 public:
  /// The bundle information: identifier, version, authorized clients.
  [[nodiscard]] static std::string_view bundleInformation();
  /// The job description for launchd.
  [[nodiscard]] static std::string_view jobDescription();
};

}  // namespace wicket::resources
