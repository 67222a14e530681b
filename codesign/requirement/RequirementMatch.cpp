// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "codesign/requirement/RequirementMatch.h"

#include <algorithm>

#include "codesign/requirement/NumericOrder.h"

namespace wicket::codesign {

using requirement::Comparison;
using requirement::Match;

namespace {

bool exists(const PropertyValue* candidate) { return candidate != nullptr && *candidate != PropertyValue(false); }

bool matchesText(const Match& match, const std::string& text) {
  switch (match.comparison) {
    case Comparison::equal:
      return text == match.value;
    case Comparison::beginsWith:
      return text.starts_with(match.value);
    case Comparison::endsWith:
      return text.ends_with(match.value);
    case Comparison::contains:
      return text.contains(match.value);
    case Comparison::less:
      return numericOrder(text, match.value) < 0;
    case Comparison::greater:
      return numericOrder(text, match.value) > 0;
    case Comparison::lessOrEqual:
      return numericOrder(text, match.value) <= 0;
    case Comparison::greaterOrEqual:
      return numericOrder(text, match.value) >= 0;
    case Comparison::exists:
    case Comparison::absent:
      break;
  }
  return false;
}

bool matchesValue(const Match& match, const PropertyValue& candidate) {
  if (const auto* const array = candidate.as<PropertyArray>()) {
    return std::ranges::any_of(*array, [&](const PropertyValue& element) { return matchesValue(match, element); });
  }
  const auto* const text = candidate.as<std::string>();
  return text != nullptr && matchesText(match, *text);
}

}  // namespace

bool matches(const Match& match, const PropertyValue* candidate) {
  if (match.isTimestamp) {
    return false;
  }
  if (match.comparison == Comparison::absent) {
    return candidate == nullptr;
  }
  if (match.comparison == Comparison::exists) {
    return exists(candidate);
  }
  return candidate != nullptr && matchesValue(match, *candidate);
}

}  // namespace wicket::codesign
