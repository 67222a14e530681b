// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "base/text/TerminalText.h"

#include <cstddef>
#include <optional>
#include <utility>

#include "base/text/DisplayText.h"

namespace wicket {

namespace {

/// Longer ones set no colour that a terminal knows.
constexpr std::size_t longestSequence = 64;

/// The sequence at the start of @p text, which may be one that has not ended yet; none when it is something else.
std::optional<std::string_view> colourSequence(std::string_view text) {
  constexpr std::string_view introducer = "\x1B[";
  const std::string_view start = text.substr(0, introducer.size());
  if (start.empty() || !introducer.starts_with(start)) return std::nullopt;
  const std::size_t end = text.find_first_not_of("0123456789;:", start.size());
  const std::size_t length = end == std::string_view::npos ? text.size() : end + 1;
  if (length > longestSequence) return std::nullopt;
  const bool isColour = end == std::string_view::npos || (start == introducer && text[end] == 'm');
  return isColour ? std::optional(text.substr(0, length)) : std::nullopt;
}

bool isUnfinished(std::string_view sequence) { return sequence.back() != 'm'; }

}  // namespace

std::string TerminalText::visible(std::string_view piece) {
  const std::string text = std::exchange(unfinished_, {}) + std::string(piece);
  std::string result;
  for (std::string_view rest = text; !rest.empty();) {
    if (const auto sequence = colourSequence(rest)) {
      rest.remove_prefix(sequence->size());
      (isUnfinished(*sequence) ? unfinished_ : result) += *sequence;
    } else if (rest.front() == '\t' || rest.front() == '\n') {
      result += rest.front();
      rest.remove_prefix(1);
    } else {
      result += takeVisible(rest);
    }
  }
  return result;
}

std::string TerminalText::finish() {
  std::string result;
  const std::string text = std::exchange(unfinished_, {});
  for (std::string_view rest = text; !rest.empty();) result += takeVisible(rest);
  return result;
}

}  // namespace wicket
