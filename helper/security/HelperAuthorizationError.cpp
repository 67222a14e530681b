// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors

#include "helper/security/HelperAuthorizationError.h"

#include <string_view>

namespace wicket {
namespace {

std::string hexadecimalEscape(unsigned char character) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  return {'\\', 'u', '{', digits[character >> 4U], digits[character & 0xFU], '}'};
}

std::string escaped(char character) {
  switch (character) {
    case '\0':
      return "\\0";
    case '\t':
      return "\\t";
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '"':
    case '\'':
    case '\\':
      return {'\\', character};
    default:
      break;
  }
  const auto byte = static_cast<unsigned char>(character);
  if (byte < 0x20 || byte == 0x7F) return hexadecimalEscape(byte);
  return {character};
}

}  // namespace

std::string HelperAuthorizationError::description() const {
  std::string quoted;
  for (const char character : message) quoted += escaped(character);
  return "message(\"" + quoted + "\")";
}

}  // namespace wicket
