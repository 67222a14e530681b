// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>
#include <vector>

#include "admission/Refusal.h"
#include "companion/doctor/Finding.h"
#include "companion/doctor/SignatureFacts.h"

namespace wicket::companion::doctor {

/// Puts what @p refusals there are because of the signature of the program at @p path into words.
[[nodiscard]] std::vector<Finding> diagnose(const SignatureFacts& signature,
                                            const std::vector<admission::Refusal>& refusals, const std::string& path);

}  // namespace wicket::companion::doctor
