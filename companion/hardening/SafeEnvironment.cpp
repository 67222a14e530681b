// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/hardening/SafeEnvironment.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>
#include <unistd.h>

namespace wicket::companion {

namespace {

constexpr std::string_view lettersAndDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";

struct Rule {
  std::string_view name;
  std::string_view marks;  ///< characters that its value may hold besides letters and digits
};

constexpr std::string_view localeMarks = "._@-";
constexpr std::array rules{
    Rule{"TERM", "._+-"},
    Rule{"NO_COLOR", "._+-"},
    Rule{"TZ", "_+-/"},
    Rule{"LANG", localeMarks},
    Rule{"LANGUAGE", "._@-:"},
    Rule{"LC_ALL", localeMarks},
    Rule{"LC_ADDRESS", localeMarks},
    Rule{"LC_COLLATE", localeMarks},
    Rule{"LC_CTYPE", localeMarks},
    Rule{"LC_IDENTIFICATION", localeMarks},
    Rule{"LC_MEASUREMENT", localeMarks},
    Rule{"LC_MESSAGES", localeMarks},
    Rule{"LC_MONETARY", localeMarks},
    Rule{"LC_NAME", localeMarks},
    Rule{"LC_NUMERIC", localeMarks},
    Rule{"LC_PAPER", localeMarks},
    Rule{"LC_TELEPHONE", localeMarks},
    Rule{"LC_TIME", localeMarks},
};

/// Most of the values become parts of file names: none may lead to another folder.
bool isHarmless(std::string_view value, const Rule& rule) {
  if (value.empty() || value.size() > SafeEnvironment::longestValue) return false;
  if (value.front() == '/' || value.front() == '.' || value.contains("..")) return false;
  return std::ranges::all_of(value, [&](char c) { return lettersAndDigits.contains(c) || rule.marks.contains(c); });
}

const Rule* ruleFor(std::string_view name) {
  const auto* const found = std::ranges::find(rules, name, &Rule::name);
  return found == rules.end() ? nullptr : found;
}

}  // namespace

SafeEnvironment::Variables SafeEnvironment::filtered(const char* const* environment) {
  Variables kept{{"PATH", path}};
  for (; environment != nullptr && *environment != nullptr; ++environment) {
    const std::string_view entry = *environment;
    const std::string_view name = entry.substr(0, entry.find('='));
    const Rule* const rule = ruleFor(name);
    if (rule == nullptr || name.size() == entry.size()) continue;
    const std::string_view value = entry.substr(name.size() + 1);
    if (!isHarmless(value, *rule) || std::ranges::find(kept, name, &Variables::value_type::first) != kept.end()) {
      continue;
    }
    kept.emplace_back(name, value);
  }
  return kept;
}

bool SafeEnvironment::enter() {
  const Variables kept = filtered(environ);
  if (::clearenv() != 0) return false;
  return std::ranges::all_of(
      kept, [](const auto& variable) { return ::setenv(variable.first.c_str(), variable.second.c_str(), 1) == 0; });
}

}  // namespace wicket::companion
