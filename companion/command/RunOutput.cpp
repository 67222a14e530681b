// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/command/RunOutput.h"

#include "companion/command/HelperLine.h"

namespace wicket::companion::command {

RunOutput::RunOutput(Output& output, std::string_view scriptPath)
    : output_(output), success_(HelperLine::successOf(scriptPath)) {}

void RunOutput::logLine(std::string_view text) {
  if (text == success_ && successesToHide_ > 0) {
    --successesToHide_;
  } else if (HelperLine::recognise(text)) {
    output_.printHelperLine(text);
  } else {
    output_.printBytes(text);
  }
}

}  // namespace wicket::companion::command
