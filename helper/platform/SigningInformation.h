// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>

namespace wicket {

/// A value of an entitlement that is neither a number nor a truth value: text, data, a list and so on.
struct NonNumericValue {
  bool operator==(const NonNumericValue&) const = default;
};
using EntitlementValue = std::variant<bool, std::int64_t, double, NonNumericValue>;
using EntitlementsDictionary = std::map<std::string, EntitlementValue, std::less<>>;

/// What a program's signature says about it. Each entry may be missing.
struct SigningInformation {
  std::optional<std::uint32_t> flags;
  std::optional<EntitlementsDictionary> entitlementsDict;
};

}  // namespace wicket
