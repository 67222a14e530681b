// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/CleanUp.h"

#include "base/text/CharacterSet.h"
#include "base/text/Utf8.h"
#include "protocol/HelperFile.h"

namespace wicket::companion::clean_up {

std::optional<char32_t> firstMangledCharacter(std::string_view text) {
  while (const auto scalar = Utf8::take(text)) {
    if (*scalar == U',' || HelperFile::illegalSet().contains(*scalar)) return scalar;
  }
  return std::nullopt;
}

bool wouldBeTrimmed(std::string_view text) {
  const CharacterSet& blanks = CharacterSet::whitespacesAndNewlines();
  bool first = true;
  bool lastIsBlank = false;
  while (const auto scalar = Utf8::take(text)) {
    lastIsBlank = blanks.contains(*scalar);
    if (first && lastIsBlank) return true;
    first = false;
  }
  return lastIsBlank;
}

bool survives(std::string_view path) {
  return !path.empty() && !path.contains(',') && HelperFile::sanitize(path) == path;
}

}  // namespace wicket::companion::clean_up
