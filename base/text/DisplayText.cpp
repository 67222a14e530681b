// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "base/text/DisplayText.h"

#include <cstddef>

#include "base/text/ControlCharacter.h"
#include "base/text/Utf8.h"

namespace wicket {

namespace {

std::string inHexadecimal(unsigned value, std::size_t digits) {
  static constexpr std::string_view alphabet = "0123456789ABCDEF";
  std::string text;
  for (; value != 0 || text.size() < digits; value /= 16) text.insert(text.begin(), alphabet[value % 16]);
  return text;
}

std::string escaped(std::string_view bytes) {
  std::string text;
  for (const char byte : bytes) text += "\\x" + inHexadecimal(static_cast<unsigned char>(byte), 2);
  return text;
}

}  // namespace

std::string characterName(char32_t scalar) {
  if (scalar > 0x20 && scalar < 0x7F) return std::string("'") + static_cast<char>(scalar) + "'";
  return "U+" + inHexadecimal(scalar, 4);
}

std::string takeVisible(std::string_view& text) {
  const std::string_view before = text;
  const auto scalar = Utf8::take(text);
  if (!scalar) text.remove_prefix(1);
  const std::string_view bytes = before.substr(0, before.size() - text.size());
  return !scalar || isControlCharacter(*scalar) ? escaped(bytes) : std::string(bytes);
}

std::string quotedText(std::string_view text) {
  std::string result = "\"";
  while (!text.empty()) result += takeVisible(text);
  return result + "\"";
}

}  // namespace wicket
