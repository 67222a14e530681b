// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>

#include "codesign/requirement/RequirementExpression.h"

namespace wicket::codesign {

/// @p expression as text that the parser reads as the same expression: in one line without comments,
/// with texts quoted and no parentheses but those that matter.
[[nodiscard]] std::string requirementText(const RequirementExpression& expression);

}  // namespace wicket::codesign
