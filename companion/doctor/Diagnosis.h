// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <vector>

#include "companion/doctor/Finding.h"
#include "companion/doctor/SystemFacts.h"

namespace wicket::companion::doctor {

/// What came back when the helper was asked for its version.
enum class HelperAnswer {
  notAsked,     ///< there is no way to it
  unreachable,  ///< there was no connection
  refused,      ///< it cut the connection
  silent,       ///< it neither answered nor cut the connection
  answered,
};

/// Judges all facts, causes before their effects. Where a check makes no sense because of another one's
/// result it is left out.
[[nodiscard]] std::vector<Finding> diagnose(const SystemFacts& facts);
/// The last finding; none when the helper was not asked.
[[nodiscard]] std::vector<Finding> diagnose(HelperAnswer answer);

}  // namespace wicket::companion::doctor
