// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "wire/BusNames.h"

#include <algorithm>

#include "base/text/Utf8.h"

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
    const auto [value, length, isValid] = Utf8::first(text);
    const std::string_view character = text.substr(0, length);
    text.remove_prefix(length);
    if (!isValid || isNoncharacter(value)) {
      result += replacementCharacter;
    } else if (value == 0) {
      result += symbolForNull;
    } else {
      result += character;
    }
  }
}

}  // namespace wicket::wire
