// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/text/CharacterSet.h"

namespace wicket {

/// Splits and cleans the strings in which clients send paths.
struct HelperFile {
  /// Everything that is neither allowed in the path of a URL nor white space or a line break.
  [[nodiscard]] static const CharacterSet& illegalSet();

  /// The pieces of @p string without the empty ones, trimmed. A piece of nothing but white space is
  /// not empty when the empty ones are dropped: it comes back as an empty string.
  [[nodiscard]] static std::vector<std::string> components(std::string_view string, std::string_view separator);
  /// The length as UTF-8; 0 for bytes that are not UTF-8 and so are no text.
  [[nodiscard]] static std::size_t stringLengthInBytes(std::string_view string);
  /// What follows the last illegal character, trimmed; illegal characters at the end do not count.
  /// None for more than 1024 bytes, for bytes that are not text, and when nothing remains. The
  /// result may still contain "/" and "..": who needs a bare file name must test for them.
  [[nodiscard]] static std::optional<std::string> sanitize(std::string_view string);
};

}  // namespace wicket
