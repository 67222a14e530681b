// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/Utf8.h"

#include <cstddef>

namespace wicket::companion {

namespace {

struct Lead {
  std::size_t length;
  char32_t bits;
  char32_t smallest;
};

std::optional<Lead> leadOf(unsigned char byte) {
  if (byte < 0x80U) return Lead{1, byte, 0};
  if (byte < 0xC0U) return std::nullopt;
  if (byte < 0xE0U) return Lead{2, byte & 0x1FU, 0x80};
  if (byte < 0xF0U) return Lead{3, byte & 0x0FU, 0x800};
  if (byte < 0xF8U) return Lead{4, byte & 0x07U, 0x10000};
  return std::nullopt;
}

std::string inHexadecimal(unsigned value, std::size_t digits) {
  static constexpr std::string_view alphabet = "0123456789ABCDEF";
  std::string text;
  for (; value != 0 || text.size() < digits; value /= 16) text.insert(text.begin(), alphabet[value % 16]);
  return text;
}

bool isControl(char32_t scalar) {
  return scalar < 0x20 || (scalar >= 0x7F && scalar < 0xA0) || scalar == 0x2028 || scalar == 0x2029;
}

std::string escaped(std::string_view bytes) {
  std::string text;
  for (const char byte : bytes) text += "\\x" + inHexadecimal(static_cast<unsigned char>(byte), 2);
  return text;
}

}  // namespace

std::optional<char32_t> takeScalar(std::string_view& rest) {
  if (rest.empty()) return std::nullopt;
  const auto lead = leadOf(static_cast<unsigned char>(rest.front()));
  if (!lead || rest.size() < lead->length) return std::nullopt;
  char32_t scalar = lead->bits;
  for (const char next : rest.substr(1, lead->length - 1)) {
    const auto byte = static_cast<unsigned char>(next);
    if ((byte & 0xC0U) != 0x80U) return std::nullopt;
    scalar = (scalar << 6U) | (byte & 0x3FU);
  }
  const bool surrogate = scalar >= 0xD800 && scalar <= 0xDFFF;
  if (scalar < lead->smallest || surrogate || scalar > 0x10FFFF) return std::nullopt;
  rest.remove_prefix(lead->length);
  return scalar;
}

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    if (!takeScalar(text)) return false;
  }
  return true;
}

std::string characterName(char32_t scalar) {
  if (scalar > 0x20 && scalar < 0x7F) return std::string("'") + static_cast<char>(scalar) + "'";
  return "U+" + inHexadecimal(scalar, 4);
}

std::string quotedText(std::string_view text) {
  std::string result = "\"";
  while (!text.empty()) {
    const std::string_view before = text;
    const auto scalar = takeScalar(text);
    if (!scalar) text.remove_prefix(1);
    const std::string_view bytes = before.substr(0, before.size() - text.size());
    result += !scalar || isControl(*scalar) ? escaped(bytes) : std::string(bytes);
  }
  return result + "\"";
}

}  // namespace wicket::companion
