// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>
#include <vector>

#include "companion/doctor/Finding.h"
#include "companion/doctor/SignatureFacts.h"

namespace wicket::companion::doctor {

/// Judges the signature of the program at @p path.
[[nodiscard]] std::vector<Finding> diagnose(const SignatureFacts& signature, const std::string& path);

}  // namespace wicket::companion::doctor
