// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>
#include <string_view>

#include "base/text/Problem.h"
#include "base/text/TerminalText.h"

namespace wicket::companion::command {

/// The command's two streams. Everything goes out at once.
class Output {
 public:
  struct Terminals {
    bool standardOutput;
    bool standardError;
    bool colours;
  };

  /// Finds out itself which of the two is a terminal, and whether colours are welcome there (NO_COLOR, TERM).
  Output(int standardOutput, int standardError);
  Output(int standardOutput, int standardError, Terminals terminals);

  /// A script's output: verbatim, but for what a terminal would take for more than text; see TerminalText.
  void printBytes(std::string_view bytes);
  void printLine(std::string_view line);
  /// A line of the helper on standard error, on a line of its own even when a script left one unfinished.
  void printHelperLine(std::string_view line);
  /// "wicket: cause. next step."
  void printProblem(const Problem& problem);
  void printWarning(const Problem& problem);
  /// One line of an examination, and a second one with the next step where there is one.
  void printCheck(bool isWell, std::string_view statement, std::string_view nextStep);
  /// Without a line ending, on standard error: standard output may be a file.
  void printQuestion(std::string_view question);
  /// Leaves the terminal's cursor at the beginning of a line.
  void finishLine();

  /// Whether something could not be written to standard output: a full disk, not a reader that went away.
  [[nodiscard]] bool hasFailed() const { return failed_; }

 private:
  void write(int descriptor, std::string_view bytes);
  void printMarked(std::string_view mark, std::string_view colour, const Problem& problem);

  int standardOutput_;
  int standardError_;
  Terminals terminals_;
  TerminalText scriptText_;
  bool lineIsOpen_ = false;
  bool failed_ = false;
};

}  // namespace wicket::companion::command
