// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace wicket {

/// The helper's own lines. They arrive among a script's output without a mark, and are told apart by their fixed
/// wording and by the missing line ending: so the wording stays as it is, spelling included.
struct HelperLines {
  /// @name What the helper writes
  /// @{
  [[nodiscard]] static std::string scriptSucceeded(std::string_view path);
  [[nodiscard]] static std::string scriptFailed(std::string_view path, int status);
  [[nodiscard]] static std::string scriptHasNoTool(std::string_view path);
  [[nodiscard]] static std::string scriptNotFound(std::string_view filename);
  /// The file cannot be read, or is no text.
  [[nodiscard]] static std::string scriptUnreadable(std::string_view path);
  /// What comes of that for the run.
  [[nodiscard]] static std::string privilegedScriptUnreadable(std::string_view path);
  /// @p error as it prints itself: message("...").
  [[nodiscard]] static std::string authenticationFailed(std::string_view error);
  /// @}

  /// @name What the message of a failed authentication says about the user's answer; it stands in Optional(...)
  /// @{
  static constexpr std::string_view denied = "The authorization was denied.";
  static constexpr std::string_view canceled = "The authorization was canceled by the user.";
  static constexpr std::string_view interactionImpossible =
      "The authorization was denied since no user interaction was possible.";
  /// @}

  /// Whether @p text reads like one of them: a whole piece of a script's output that does is taken for one.
  [[nodiscard]] static bool recognises(std::string_view text);
  /// What stands between the quotation marks of message("...") in a failed authentication; none for other texts.
  [[nodiscard]] static std::optional<std::string_view> authenticationMessage(std::string_view text);
};

}  // namespace wicket
