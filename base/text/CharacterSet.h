// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <initializer_list>
#include <vector>

namespace wicket {

/// A set of Unicode scalars. The predefined sets are built on first use and then kept.
class CharacterSet {
 public:
  struct Range {
    char32_t first;
    char32_t last;  ///< a member too
  };

  CharacterSet(std::initializer_list<Range> ranges) : CharacterSet(std::vector<Range>(ranges)) {}

  [[nodiscard]] bool contains(char32_t scalar) const;
  [[nodiscard]] CharacterSet united(const CharacterSet& other) const;
  /// Everything from U+0000 to U+10FFFF that is not a member.
  [[nodiscard]] CharacterSet inverted() const;

  /// What may stand in the path of a URL without being escaped: 79 ASCII characters. ";" is not one
  /// of them, as it once separated a path's parameters.
  [[nodiscard]] static const CharacterSet& urlPathAllowed();
  /// TAB, the space separators and, unlike in Unicode's categories, U+200B.
  [[nodiscard]] static const CharacterSet& whitespaces();
  [[nodiscard]] static const CharacterSet& newlines();
  [[nodiscard]] static const CharacterSet& whitespacesAndNewlines();
  /// TAB and the space separators (General Category Zs) alone: what stands between the words of a
  /// shebang line. U+200B is no member.
  [[nodiscard]] static const CharacterSet& tabAndSpaceSeparators();

 private:
  explicit CharacterSet(std::vector<Range> ranges);

  std::vector<Range> ranges_;  ///< in ascending order, neither overlapping nor adjacent
};

}  // namespace wicket
