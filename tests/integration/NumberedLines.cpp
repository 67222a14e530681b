// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/integration/NumberedLines.h"

#include <algorithm>

namespace wicket::integration {
namespace {

constexpr std::size_t firstNumber = 100000000;

}  // namespace

std::string NumberedLines::command(std::size_t length) {
  return "seq " + std::to_string(firstNumber) + " " + std::to_string(firstNumber + wholeLines(length) / lineLength - 1);
}

std::string NumberedLines::commandUntil(const std::string& stop, const std::string& length) {
  const std::string first = std::to_string(firstNumber);
  return "for ((n = " + first + "; ; n += 100000)); do\n[[ -e " + stop + " ]] && break\nseq $n $((n + 99999))\ndone\n" +
         "echo $(((n - " + first + ") * " + std::to_string(lineLength) + ")) > " + length + "\n";
}

void NumberedLines::take(std::string_view piece) {
  length_ += piece.size();
  while (!piece.empty()) {
    const std::size_t count = std::min(piece.size(), lineLength - position_);
    if (piece.substr(0, count) != std::string_view(line_).substr(position_, count)) areInOrder_ = false;
    piece.remove_prefix(count);
    position_ += count;
    if (position_ == lineLength) advance();
  }
}

void NumberedLines::advance() {
  position_ = 0;
  std::size_t digit = lineLength - 2;
  while (line_[digit] == '9') line_[digit--] = '0';
  ++line_[digit];
}

}  // namespace wicket::integration
