// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <cstdio>
#include <exception>
#include <unistd.h>

#include "companion/command/CommandLine.h"
#include "companion/command/ExitStatus.h"
#include "companion/command/Interruption.h"
#include "companion/hardening/GroupPrivilege.h"
#include "companion/hardening/ProcessHardening.h"

namespace {

namespace companion = wicket::companion;
namespace command = companion::command;

int runProgram(int count, char** words, companion::GroupPrivilege& privilege) {
  const auto obstacle = companion::ProcessHardening::apply();
  command::Output output(STDOUT_FILENO, STDERR_FILENO);
  if (obstacle) {
    output.printProblem(*obstacle);
    return command::exit_status::helperFailed;
  }
  const command::Interruption interruption;
  command::Context context{output};
  context.connection.privilege = &privilege;
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
  // Before anything else: from here on the program can do what its user can do, and no more.
  companion::GroupPrivilege privilege;
  try {
    return runProgram(count, words, privilege);
  } catch (const std::exception& error) {
    static_cast<void>(std::fprintf(stderr, "wicket: %s. Try again.\n", error.what()));
    return command::exit_status::helperFailed;
  }
}
