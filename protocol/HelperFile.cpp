// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "protocol/HelperFile.h"

#include <utility>

#include "base/text/StringPieces.h"
#include "base/text/Utf8.h"

namespace wicket {
namespace {

constexpr std::size_t longestAcceptedString = 1024;

/// Drops before it trims, so that a piece of blanks survives as an empty string.
std::vector<std::string> cleaned(std::vector<std::string> pieces) {
  StringPieces::dropEmpty(pieces);
  for (std::string& piece : pieces) piece = StringPieces::trimmed(piece, CharacterSet::whitespacesAndNewlines());
  return pieces;
}

}  // namespace

const CharacterSet& HelperFile::illegalSet() {
  static const CharacterSet set =
      CharacterSet::urlPathAllowed().united(CharacterSet::whitespacesAndNewlines()).inverted();
  return set;
}

std::vector<std::string> HelperFile::components(std::string_view string, std::string_view separator) {
  return cleaned(StringPieces::separatedBy(separator, string));
}

std::size_t HelperFile::stringLengthInBytes(std::string_view string) {
  return Utf8::isValid(string) ? string.size() : 0;
}

std::optional<std::string> HelperFile::sanitize(std::string_view string) {
  // A length of 0 is that of an empty string or of none at all: nothing remains of either.
  const std::size_t length = stringLengthInBytes(string);
  if (length == 0 || length > longestAcceptedString) return std::nullopt;
  std::vector<std::string> pieces = cleaned(StringPieces::separatedBy(illegalSet(), string));
  if (pieces.empty()) return std::nullopt;
  return std::move(pieces.back());
}

}  // namespace wicket
