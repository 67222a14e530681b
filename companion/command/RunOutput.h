// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>
#include <string_view>

#include "companion/command/Output.h"

namespace wicket::companion::command {

/// Sorts what arrives during a run: scripts' output goes to standard output byte for byte, the helper's own
/// lines go to standard error. The helper reports the success of the script twice, first as soon as it has
/// started; both lines are left out, since the exit status says the same, and says it when it is true.
/// Lines of other scripts of the same user, which arrive when this connection is his newest, are all shown.
class RunOutput {
 public:
  RunOutput(Output& output, std::string_view scriptPath);

  void logLine(std::string_view text);

 private:
  Output& output_;
  std::string success_;
  int successesToHide_ = 2;
};

}  // namespace wicket::companion::command
