// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "helper/script/ShebangLine.h"

#include <string_view>

#include "base/text/CharacterSet.h"
#include "base/text/StringPieces.h"

namespace wicket {
namespace {

constexpr std::string_view mark = "#!";

}  // namespace

std::optional<std::vector<std::string>> ShebangLine::components(const std::optional<std::string>& line) {
  if (!line || !line->starts_with(mark)) return std::nullopt;
  const std::string_view words = std::string_view(*line).substr(mark.size());
  std::vector<std::string> pieces = StringPieces::separatedBy(CharacterSet::tabAndSpaceSeparators(), words);
  StringPieces::dropEmpty(pieces);
  return pieces;
}

}  // namespace wicket
