// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors

#include "protocol/HelperLines.h"

#include <algorithm>
#include <array>

namespace wicket {
namespace {

/// What stands around the part that differs.
struct Wording {
  std::string_view start;
  std::string_view end;

  [[nodiscard]] std::string around(std::string_view part) const {
    return std::string(start) + std::string(part) + std::string(end);
  }
  /// The part that differs; none when @p text has another wording.
  [[nodiscard]] std::optional<std::string_view> partOf(std::string_view text) const {
    if (text.size() < start.size() + end.size() || !text.starts_with(start) || !text.ends_with(end)) {
      return std::nullopt;
    }
    return text.substr(start.size(), text.size() - start.size() - end.size());
  }
};

constexpr Wording success{"Script at ", " was executed successfully."};
constexpr Wording failure{"ERROR: Execution of the script at ", "."};
constexpr Wording noTool{"ERROR: Script at ",
                         " was not executed, because a valid path to the tool could not be found. Please always "
                         "include a valid shebang in your scripts."};
constexpr Wording notFound{"ERROR: The priviliged script \"",
                           "\" was not executed, as it was not found. Please install it again."};
constexpr Wording unreadable{"ERROR: Unable to read script at ", "."};
constexpr Wording privilegedUnreadable{"ERROR: Privileged script at ", " was not executed, as it could not be read."};
constexpr Wording failedAuthentication{"ERROR: Authentication failed with ", ""};
constexpr Wording errorMessage{"message(\"", "\")"};

/// All but the last, of which only one kind of error is recognised.
constexpr std::array aboutScripts{success, failure, noTool, notFound, unreadable, privilegedUnreadable};

}  // namespace

std::string HelperLines::scriptSucceeded(std::string_view path) { return success.around(path); }

std::string HelperLines::scriptFailed(std::string_view path, int status) {
  return failure.around(std::string(path) + " failed with exit code " + std::to_string(status));
}

std::string HelperLines::scriptHasNoTool(std::string_view path) { return noTool.around(path); }

std::string HelperLines::scriptNotFound(std::string_view filename) { return notFound.around(filename); }

std::string HelperLines::scriptUnreadable(std::string_view path) { return unreadable.around(path); }

std::string HelperLines::privilegedScriptUnreadable(std::string_view path) { return privilegedUnreadable.around(path); }

std::string HelperLines::authenticationFailed(std::string_view error) { return failedAuthentication.around(error); }

bool HelperLines::recognises(std::string_view text) {
  const auto reads = [text](const Wording& wording) { return wording.partOf(text).has_value(); };
  return std::ranges::any_of(aboutScripts, reads) || authenticationMessage(text).has_value();
}

std::optional<std::string_view> HelperLines::authenticationMessage(std::string_view text) {
  const auto error = failedAuthentication.partOf(text);
  return error ? errorMessage.partOf(*error) : std::nullopt;
}

}  // namespace wicket
