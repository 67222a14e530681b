// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/command/HelperLine.h"

#include <array>

namespace wicket::companion::command {

namespace {

struct Wording {
  std::string_view start;
  std::string_view end;
};

constexpr std::string_view successStart = "Script at ";
constexpr std::string_view successEnd = " was executed successfully.";
constexpr std::string_view authenticationStart = "ERROR: Authentication failed with message(\"";
constexpr std::string_view authenticationEnd = "\")";

constexpr std::array errors{
    Wording{"ERROR: Execution of the script at ", "."},
    Wording{"ERROR: Script at ",
            " was not executed, because a valid path to the tool could not be found. Please always include a valid "
            "shebang in your scripts."},
    Wording{"ERROR: The priviliged script \"", "\" was not executed, as it was not found. Please install it again."},
    Wording{"ERROR: Privileged script at ", " was not executed, as it could not be read."},
    Wording{"ERROR: Unable to read script at ", "."},
    Wording{authenticationStart, authenticationEnd},
};

bool reads(std::string_view text, const Wording& wording) {
  return text.size() >= wording.start.size() + wording.end.size() && text.starts_with(wording.start) &&
         text.ends_with(wording.end);
}

}  // namespace

std::optional<HelperLine> HelperLine::recognise(std::string_view text) {
  if (reads(text, {successStart, successEnd})) return HelperLine{Kind::success, {}};
  for (const Wording& wording : errors) {
    if (!reads(text, wording)) continue;
    if (wording.start != authenticationStart) return HelperLine{Kind::error, {}};
    text.remove_prefix(authenticationStart.size());
    text.remove_suffix(authenticationEnd.size());
    return HelperLine{Kind::error, std::string(text)};
  }
  return std::nullopt;
}

std::string HelperLine::successOf(std::string_view scriptPath) {
  return std::string(successStart) + std::string(scriptPath) + std::string(successEnd);
}

}  // namespace wicket::companion::command
