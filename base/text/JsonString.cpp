// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "base/text/JsonString.h"

#include <array>
#include <cstdio>

#include "base/text/ControlCharacter.h"
#include "base/text/Utf8.h"

namespace wicket {

namespace {

std::string escaped(char32_t scalar, std::string_view bytes) {
  if (scalar == U'"' || scalar == U'\\') return "\\" + std::string(bytes);
  if (!isControlCharacter(scalar)) return std::string(bytes);
  std::array<char, 8> buffer{};
  std::snprintf(buffer.data(), buffer.size(), "\\u%04x", static_cast<unsigned>(scalar) & 0xFFFFU);
  return buffer.data();
}

}  // namespace

std::string jsonString(std::string_view text) {
  std::string result = "\"";
  while (!text.empty()) {
    const std::string_view before = text;
    const auto scalar = Utf8::take(text);
    if (!scalar) {
      text.remove_prefix(1);
      result += "\xEF\xBF\xBD";
    } else {
      result += escaped(*scalar, before.substr(0, before.size() - text.size()));
    }
  }
  return result + "\"";
}

}  // namespace wicket
