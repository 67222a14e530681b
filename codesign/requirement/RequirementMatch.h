// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include "codesign/plist/PropertyValue.h"
#include "codesign/requirement/RequirementExpression.h"

namespace wicket::codesign {

/// Whether @p candidate, null if there is nothing, is what @p match asks for.
[[nodiscard]] bool matches(const requirement::Match& match, const PropertyValue* candidate);

}  // namespace wicket::codesign
