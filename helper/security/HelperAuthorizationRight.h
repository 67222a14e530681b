// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>

#include "protocol/Selector.h"

namespace wicket {

/// A right that guards an operation. The helper reads the command and the name; the rest is the
/// definition that whoever registers the right with the system must use.
struct HelperAuthorizationRight {
  using Rule = std::map<std::string, std::variant<std::string, std::int64_t>>;

  Selector command;
  std::string name;
  std::string description;
  std::optional<Rule> ruleCustom;
  std::optional<std::string> ruleConstant;
};

}  // namespace wicket
