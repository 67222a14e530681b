// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>

namespace wicket::companion::doctor {

/// What the helper of this build demands of its clients' signatures.
class CompanionRequirement {
 public:
  /// In the code requirement language.
  [[nodiscard]] static std::string text();
};

}  // namespace wicket::companion::doctor
