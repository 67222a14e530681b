// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "admission/Entitlements.h"

#include <cmath>

namespace wicket::admission {
namespace {

struct AsInteger {
  std::optional<std::int64_t> operator()(bool value) const { return value ? 1 : 0; }
  std::optional<std::int64_t> operator()(std::int64_t value) const { return value; }
  /// Only a whole number is an integer: nothing is rounded into harmlessness.
  std::optional<std::int64_t> operator()(double value) const {
    constexpr double limit = 9223372036854775808.0;
    const bool isRepresentable = value >= -limit && value < limit && std::trunc(value) == value;
    return isRepresentable ? std::optional(static_cast<std::int64_t>(value)) : std::nullopt;
  }
  std::optional<std::int64_t> operator()(NonNumericValue /*value*/) const { return std::nullopt; }
};

}  // namespace

EntitlementState stateOf(const EntitlementsDictionary& entitlements, std::string_view name) {
  const auto found = entitlements.find(name);
  if (found == entitlements.end()) return EntitlementState::notSet;
  const auto integer = std::visit(AsInteger{}, found->second);
  if (!integer) return EntitlementState::noNumber;
  return *integer == 1 ? EntitlementState::set : EntitlementState::notSet;
}

}  // namespace wicket::admission
