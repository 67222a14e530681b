// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "admission/Entitlements.h"

namespace wicket::companion::doctor {

/// What the signature of a program's file says and whether it holds, as the helper sees it.
struct SignatureFacts {
  enum class State {
    missing,     ///< there is no signature block
    unreadable,  ///< there is one that is damaged, or the file cannot be read
    notTrusted,  ///< it does not lead to the anchor that this build trusts
    altered,     ///< the file is not what was signed
    holds,
  };

  int error = 0;                 ///< why nothing is known about it, as an error number; 0 when the rest holds
  std::string missingLibrary{};  ///< why it cannot be read here at all, as a clause; empty otherwise

  State state = State::missing;
  std::string reason{};  ///< a sentence without its full stop when the signature does not hold

  // The rest says something only about a signature that leads to the anchor.
  std::optional<std::uint32_t> flags{};
  std::optional<admission::EntitlementsDictionary> entitlements{};
  std::string requirement{};  ///< what the helper demands
  bool meetsRequirement = false;
};

}  // namespace wicket::companion::doctor
