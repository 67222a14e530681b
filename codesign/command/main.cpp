// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>

#include "codesign/command/CommandLine.h"
#include "codesign/command/ExitStatus.h"
#include "codesign/command/TerminalSecret.h"

namespace {

namespace command = wicket::codesign::command;

int runProgram(int count, char** words) {
  command::Output output(std::cout, std::cerr);
  command::Context context{output, command::askOnTerminal};
  if (const char* epoch = std::getenv("SOURCE_DATE_EPOCH")) context.sourceDateEpoch = epoch;
  const int status = command::runCommandLine({words + (count > 0 ? 1 : 0), words + count}, context);
  if (!output.hasFailed()) return status;
  output.printProblem({"Standard output could not be written", "Check the disk that it goes to"});
  return status == command::exit_status::success ? command::exit_status::failure : status;
}

}  // namespace

int main(int count, char** words) {
  // A reader that goes away ends the command without a word, also where the caller had ignored the signal.
  std::signal(SIGPIPE, SIG_DFL);
  try {
    return runProgram(count, words);
  } catch (const std::exception& error) {
    static_cast<void>(std::fprintf(stderr, "wicket-codesign: %s. Try again.\n", error.what()));
    return command::exit_status::failure;
  }
}
