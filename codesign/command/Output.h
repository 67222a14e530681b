// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <ostream>
#include <string>

#include "base/text/Problem.h"

namespace wicket::codesign::command {

/// The command's two streams.
class Output {
 public:
  Output(std::ostream& standard, std::ostream& error) : standard_(standard), error_(error) {}

  void print(const std::string& text) { standard_ << text << std::flush; }
  /// "wicket-codesign: cause. next step." in one line.
  void printProblem(const Problem& problem) { printMarked("wicket-codesign: ", problem); }
  void printWarning(const Problem& problem) { printMarked("wicket-codesign: warning: ", problem); }
  [[nodiscard]] bool hasFailed() const { return standard_.fail(); }

 private:
  void printMarked(const char* mark, const Problem& problem) {
    error_ << mark << problem.cause << ". " << problem.nextStep << ".\n" << std::flush;
  }

  std::ostream& standard_;
  std::ostream& error_;
};

}  // namespace wicket::codesign::command
