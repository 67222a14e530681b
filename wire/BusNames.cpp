// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "wire/BusNames.h"

#include <algorithm>

namespace wicket::wire {
namespace {

constexpr std::string_view symbolForNull = "\xE2\x90\x80";         // U+2400
constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";  // U+FFFD

std::string_view typeSignature(ArgumentType type) {
  switch (type) {
    case ArgumentType::string:
      return "s";
    case ArgumentType::stringArray:
      return "as";
    case ArgumentType::data:
      return "ay";
    case ArgumentType::boolean:
      return "y";
    case ArgumentType::signedInteger:
      return "x";
  }
  return {};
}

unsigned byteAt(std::string_view text, std::size_t index) { return static_cast<unsigned char>(text[index]); }

/// Bytes of the character that starts with @p lead, in valid UTF-8.
std::size_t characterLength(unsigned lead) {
  if (lead < 0x80) return 1;
  if (lead < 0xE0) return 2;
  return lead < 0xF0 ? 3 : 4;
}

char32_t decode(std::string_view character) {
  const unsigned lead = byteAt(character, 0);
  if (character.size() == 1) return lead;
  char32_t value = lead & (0x7FU >> character.size());
  for (std::size_t i = 1; i < character.size(); ++i) value = (value << 6U) | (byteAt(character, i) & 0x3FU);
  return value;
}

/// U+0000, or the first byte of a character from U+F000 on: every noncharacter is one of those.
bool mayNotTravel(char byte) { return byte == '\0' || static_cast<unsigned char>(byte) >= 0xEF; }

bool isNoncharacter(char32_t value) { return (value >= 0xFDD0 && value <= 0xFDEF) || (value & 0xFFFEU) == 0xFFFE; }

}  // namespace

std::string memberName(const Selector& selector) {
  std::string name(selector.text);
  std::ranges::replace(name, ':', '_');
  return name;
}

std::string signature(std::span<const ArgumentType> types) {
  std::string text;
  for (const ArgumentType type : types) text += typeSignature(type);
  return text;
}

std::string travellingText(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (;;) {
    // Long output comes this way: whatever surely travels as it is goes in one piece.
    const auto plain = static_cast<std::size_t>(std::ranges::find_if(text, mayNotTravel) - text.begin());
    result.append(text.substr(0, plain));
    text.remove_prefix(plain);
    if (text.empty()) return result;
    const std::string_view character = text.substr(0, characterLength(byteAt(text, 0)));
    text.remove_prefix(character.size());
    const char32_t value = decode(character);
    if (value == 0) {
      result += symbolForNull;
    } else if (isNoncharacter(value)) {
      result += replacementCharacter;
    } else {
      result += character;
    }
  }
}

}  // namespace wicket::wire
