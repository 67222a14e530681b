// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "base/text/StringPieces.h"

#include <cstddef>

#include "base/text/Utf8.h"

namespace wicket {
namespace {

/// The place of the first member of @p set in @p text, and its length.
struct Found {
  std::size_t offset;
  std::size_t length;  ///< 0 when there is none; the offset is then the end of the text
};

Found find(const CharacterSet& set, std::string_view text) {
  for (std::size_t offset = 0; offset < text.size();) {
    const Utf8::Scalar scalar = Utf8::first(text.substr(offset));
    if (set.contains(scalar.value)) return {offset, scalar.length};
    offset += scalar.length;
  }
  return {text.size(), 0};
}

}  // namespace

std::vector<std::string> StringPieces::separatedBy(std::string_view separator, std::string_view text) {
  if (separator.empty()) return {std::string(text)};
  std::vector<std::string> pieces;
  for (;;) {
    const std::size_t end = text.find(separator);
    pieces.emplace_back(text.substr(0, end));
    if (end == std::string_view::npos) return pieces;
    text.remove_prefix(end + separator.size());
  }
}

std::vector<std::string> StringPieces::separatedBy(const CharacterSet& separators, std::string_view text) {
  std::vector<std::string> pieces;
  for (;;) {
    const Found separator = find(separators, text);
    pieces.emplace_back(text.substr(0, separator.offset));
    if (separator.length == 0) return pieces;
    text.remove_prefix(separator.offset + separator.length);
  }
}

std::string StringPieces::firstSeparatedBy(const CharacterSet& separators, std::string_view text) {
  return std::string(text.substr(0, find(separators, text).offset));
}

void StringPieces::dropEmpty(std::vector<std::string>& pieces) {
  std::erase_if(pieces, [](const std::string& piece) { return piece.empty(); });
}

std::string StringPieces::trimmed(std::string_view text, const CharacterSet& set) {
  std::size_t begin = text.size();
  std::size_t end = 0;
  for (std::size_t offset = 0; offset < text.size();) {
    const Utf8::Scalar scalar = Utf8::first(text.substr(offset));
    if (!set.contains(scalar.value)) {
      if (end == 0) begin = offset;
      end = offset + scalar.length;
    }
    offset += scalar.length;
  }
  return begin < end ? std::string(text.substr(begin, end - begin)) : std::string();
}

}  // namespace wicket
