// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstdint>
#include <optional>

#include "admission/Entitlements.h"

namespace wicket {

using admission::EntitlementsDictionary;
using admission::EntitlementValue;
using admission::NonNumericValue;

/// What a program's signature says about it. Each entry may be missing.
struct SigningInformation {
  std::optional<std::uint32_t> flags;
  std::optional<EntitlementsDictionary> entitlementsDict;
};

}  // namespace wicket
