// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "admission/Refusal.h"

namespace wicket::admission {

/// A value of an entitlement that is neither a number nor a truth value: text, data, a list and so on.
struct NonNumericValue {
  bool operator==(const NonNumericValue&) const = default;
};
using EntitlementValue = std::variant<bool, std::int64_t, double, NonNumericValue>;
using EntitlementsDictionary = std::map<std::string, EntitlementValue, std::less<>>;

/// An entitlement that refuses.
struct ProblematicEntitlement {
  Refusal refusal;
  std::string_view name;
};

/// Each lets code into the companion that its maker has not signed.
inline constexpr std::array<ProblematicEntitlement, 3> problematicEntitlements{{
    {Refusal::getTaskAllow, "com.apple.security.get-task-allow"},
    {Refusal::disableLibraryValidation, "com.apple.security.cs.disable-library-validation"},
    {Refusal::allowDyldEnvironmentVariables, "com.apple.security.cs.allow-dyld-environment-variables"},
}};

enum class EntitlementState : std::uint8_t {
  notSet,    ///< missing, false, or a whole number other than 1
  set,       ///< true or 1
  noNumber,  ///< it means something else than was foreseen, which is worse than set
};

[[nodiscard]] EntitlementState stateOf(const EntitlementsDictionary& entitlements, std::string_view name);

/// A dictionary of values that tell their type by as<Type>(), which is null for every other.
template <typename Dictionary>
[[nodiscard]] EntitlementsDictionary entitlementsFrom(const Dictionary& dictionary) {
  EntitlementsDictionary entitlements;
  for (const auto& [name, value] : dictionary) {
    EntitlementValue& entitlement = entitlements[name] = NonNumericValue{};
    if (const auto* const truth = value.template as<bool>()) entitlement = *truth;
    if (const auto* const integer = value.template as<std::int64_t>()) entitlement = *integer;
    if (const auto* const real = value.template as<double>()) entitlement = *real;
  }
  return entitlements;
}

}  // namespace wicket::admission
