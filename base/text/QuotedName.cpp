// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors

#include "base/text/QuotedName.h"

#include <cstddef>

namespace wicket {
namespace {

/// In characters as they are shown, each \xNN being one.
constexpr std::size_t longestWhole = 200;
constexpr std::size_t shownBegin = 60;
constexpr std::size_t shownEnd = 120;

bool standsForItself(char byte) {
  constexpr std::string_view harmless = " !#%'()*+,-./:;=?@[]^_{|}~";
  const bool isLetter = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
  const bool isDigit = byte >= '0' && byte <= '9';
  return isLetter || isDigit || harmless.contains(byte);
}

std::string shown(char byte) {
  constexpr std::string_view digits = "0123456789abcdef";
  if (standsForItself(byte)) return {byte};
  const auto value = static_cast<unsigned char>(byte);
  return {'\\', 'x', digits[value / 16], digits[value % 16]};
}

std::string quoted(std::string_view bytes) {
  std::string text = "\"";
  for (const char byte : bytes) text += shown(byte);
  return text + "\"";
}

}  // namespace

std::string quotedName(std::string_view name) {
  if (name.size() <= longestWhole) return quoted(name);
  const std::size_t leftOut = name.size() - shownBegin - shownEnd;
  return quoted(name.substr(0, shownBegin)) + "[" + std::to_string(leftOut) + " more]" +
         quoted(name.substr(name.size() - shownEnd));
}

}  // namespace wicket
