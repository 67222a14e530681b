// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "tests/support/Patience.h"

namespace wicket::support {

/// A program run to its end.
struct Program {
  int status = -1;  ///< exit status, or 128 + the signal's number; -1 when it was not started or not ended in time
  std::string output;
  std::string errors;

  /// The first word is an absolute path or is looked up in PATH; standard input is empty. A program that
  /// has not ended in time is killed.
  [[nodiscard]] static Program run(const std::vector<std::string>& words, std::chrono::milliseconds timeout = patience);
};

}  // namespace wicket::support
