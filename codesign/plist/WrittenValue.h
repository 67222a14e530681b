// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace wicket::codesign {

/// A value as the text of a property list in XML has it: an element with its tags. The library that reads such texts
/// takes some for other values without a word. All are parts of that text.
struct WrittenValue {
  std::string_view name;     ///< of the element, such as "integer"
  std::string_view key;      ///< the last one before it; empty when there is none
  std::string_view element;  ///< the whole of it

  /// Without the tags and the white space next to them.
  [[nodiscard]] std::string content() const;
  /// Whether the content is a whole number that 64 bits hold, signed or not, and nothing else.
  [[nodiscard]] bool isInteger() const;

  /// The integers and the dates in the order of the text, but for those in comments.
  [[nodiscard]] static std::vector<WrittenValue> allIn(std::string_view text);
};

}  // namespace wicket::codesign
