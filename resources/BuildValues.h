// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string_view>

namespace wicket::resources {

/// What the build was told about the installation.
class BuildValues {
 public:
  /// Absolute path of the installed helper, of letters, digits, "/", ".", "_" and "-" only.
  [[nodiscard]] static std::string_view helperExecutable();
  /// Name of the group that the companion's executable gives to whoever runs it.
  [[nodiscard]] static std::string_view companionGroup();
};

}  // namespace wicket::resources
