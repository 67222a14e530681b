// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace wicket {

/// Strict UTF-8: no overlong forms, no surrogates, nothing above U+10FFFF. U+0000, noncharacters and
/// byte-order marks are characters like any other.
struct Utf8 {
  struct Scalar {
    char32_t value;
    std::size_t length;  ///< in bytes
    bool isValid;
  };

  /// The character that @p text, which must not be empty, begins with. A byte that begins none is
  /// an invalid U+FFFD of one byte, so that going through any bytes comes to their end.
  [[nodiscard]] static Scalar first(std::string_view text);
  /// Takes the first character off @p rest. None, and @p rest stays as it is, when it is empty or
  /// begins with no character.
  [[nodiscard]] static std::optional<char32_t> take(std::string_view& rest);
  [[nodiscard]] static bool isValid(std::string_view text);
  /// How many bytes at the end of @p text begin a character that further bytes can make whole: 0 to 3.
  [[nodiscard]] static std::size_t unfinishedLength(std::string_view text);
};

}  // namespace wicket
