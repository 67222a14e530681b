// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <csignal>
#include <cstdio>
#include <exception>
#include <unistd.h>

#include "companion/command/CommandLine.h"
#include "companion/command/ExitStatus.h"
#include "companion/command/Interruption.h"

namespace {

namespace command = wicket::companion::command;

int runProgram(int count, char** words) {
  // A reader that goes away ends the command without a word, also where the caller had ignored the signal.
  std::signal(SIGPIPE, SIG_DFL);
  const command::Interruption interruption;
  command::Output output(STDOUT_FILENO, STDERR_FILENO);
  command::Context context{output};
  context.connection.cancelDescriptor = interruption.descriptor();
  context.inputIsTerminal = ::isatty(STDIN_FILENO) == 1;
  const int status = command::runCommandLine({words + (count > 0 ? 1 : 0), words + count}, context);
  if (!output.hasFailed()) return status;
  output.printProblem({"Standard output could not be written", "Check the disk that it goes to"});
  // A script's own status, or that of a failure, still says more.
  return status == command::exit_status::success ? command::exit_status::failure : status;
}

}  // namespace

int main(int count, char** words) {
  try {
    return runProgram(count, words);
  } catch (const std::exception& error) {
    static_cast<void>(std::fprintf(stderr, "wicket: %s. Try again.\n", error.what()));
    return command::exit_status::helperFailed;
  }
}
