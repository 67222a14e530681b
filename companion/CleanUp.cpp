// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/CleanUp.h"

#include "companion/Utf8.h"

namespace wicket::companion::clean_up {

namespace {

bool isAllowedInUrlPath(char32_t scalar) {
  static constexpr std::string_view punctuation = "!$&'()*+,-./:=@_~";
  if (scalar >= 0x80) return false;
  const char character = static_cast<char>(scalar);
  const bool alphanumeric = (character >= '0' && character <= '9') || (character >= 'A' && character <= 'Z') ||
                            (character >= 'a' && character <= 'z');
  return alphanumeric || punctuation.find(character) != std::string_view::npos;
}

}  // namespace

bool isWhitespace(char32_t scalar) {
  return scalar == 0x09 || scalar == 0x20 || scalar == 0xA0 || scalar == 0x1680 ||
         (scalar >= 0x2000 && scalar <= 0x200B) || scalar == 0x202F || scalar == 0x205F || scalar == 0x3000;
}

bool isNewline(char32_t scalar) {
  return (scalar >= 0x0A && scalar <= 0x0D) || scalar == 0x85 || scalar == 0x2028 || scalar == 0x2029;
}

std::optional<char32_t> firstMangledCharacter(std::string_view text) {
  while (const auto scalar = takeScalar(text)) {
    const bool legal = isAllowedInUrlPath(*scalar) || isWhitespace(*scalar) || isNewline(*scalar);
    if (!legal || *scalar == U',') return scalar;
  }
  return std::nullopt;
}

bool wouldBeTrimmed(std::string_view text) {
  bool first = true;
  bool lastIsBlank = false;
  while (const auto scalar = takeScalar(text)) {
    lastIsBlank = isWhitespace(*scalar) || isNewline(*scalar);
    if (first && lastIsBlank) return true;
    first = false;
  }
  return lastIsBlank;
}

bool survives(std::string_view path) {
  return !path.empty() && path.size() <= longestPath && isUtf8(path) && !firstMangledCharacter(path) &&
         !wouldBeTrimmed(path);
}

}  // namespace wicket::companion::clean_up
