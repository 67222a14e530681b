// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <vector>

#include "companion/doctor/Finding.h"
#include "companion/doctor/SystemFacts.h"

namespace wicket::companion::doctor {

/// Judges all facts, causes before their effects. Where a check makes no sense because of another one's
/// result it is left out.
[[nodiscard]] std::vector<Finding> diagnose(const SystemFacts& facts);

}  // namespace wicket::companion::doctor
