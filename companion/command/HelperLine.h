// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace wicket::companion::command {

/// The helper's own lines arrive among a script's output without a mark. They are told apart by their
/// fixed wording and by the missing line ending: a whole piece of output that reads exactly like one is
/// taken for one.
struct HelperLine {
  enum class Kind { success, error };

  Kind kind;
  /// The text inside message("...") of a failed authentication; empty for the other lines.
  std::string authenticationMessage;

  /// None for a script's output.
  [[nodiscard]] static std::optional<HelperLine> recognise(std::string_view text);
  [[nodiscard]] static std::string successOf(std::string_view scriptPath);
};

}  // namespace wicket::companion::command
