// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace wicket::integration {

/// A long text in which every byte's place can be told: the numbers from 100000000 on, one per line.
/// Checks that what it takes is that text, piece by piece.
class NumberedLines {
 public:
  static constexpr std::size_t lineLength = 10;

  /// The text's length: at least @p length, in whole lines.
  [[nodiscard]] static constexpr std::size_t wholeLines(std::size_t length) {
    return (length + lineLength - 1) / lineLength * lineLength;
  }
  /// A shell command that writes it.
  [[nodiscard]] static std::string command(std::size_t length);
  /// Lines of a shell script that write it until the file @p stop is there, and then the length to the file @p length.
  [[nodiscard]] static std::string commandUntil(const std::string& stop, const std::string& length);

  void take(std::string_view piece);
  [[nodiscard]] std::size_t length() const { return length_; }
  [[nodiscard]] bool areInOrder() const { return areInOrder_; }

 private:
  void advance();

  std::string line_ = "100000000\n";
  std::size_t position_ = 0;
  std::size_t length_ = 0;
  bool areInOrder_ = true;
};

}  // namespace wicket::integration
