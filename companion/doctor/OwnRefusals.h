// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <vector>

#include "admission/Refusal.h"
#include "companion/doctor/SystemFacts.h"

namespace wicket::companion::doctor {

/// Why the helper would not let this program in, judged as it judges. What could not be looked at for want of something
/// may be among it: SystemFacts has the error.
[[nodiscard]] std::vector<admission::Refusal> ownRefusals(const SystemFacts& facts);

}  // namespace wicket::companion::doctor
