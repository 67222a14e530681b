// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/text/CharacterSet.h"

namespace wicket {

/// Splitting and trimming, scalar by scalar. Adjacent separators and separators at either end give
/// empty pieces, and a text without a separator, even an empty one, is one piece.
struct StringPieces {
  [[nodiscard]] static std::vector<std::string> separatedBy(std::string_view separator, std::string_view text);
  /// Each member of @p separators separates on its own.
  [[nodiscard]] static std::vector<std::string> separatedBy(const CharacterSet& separators, std::string_view text);
  /// The first of the pieces; however long the text is, only that piece is made.
  [[nodiscard]] static std::string firstSeparatedBy(const CharacterSet& separators, std::string_view text);

  static void dropEmpty(std::vector<std::string>& pieces);
  /// @p text without the members of @p set at its two ends.
  [[nodiscard]] static std::string trimmed(std::string_view text, const CharacterSet& set);
};

}  // namespace wicket
