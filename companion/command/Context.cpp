// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/command/Context.h"

#include "companion/command/ExitStatus.h"
#include "companion/command/Interruption.h"
#include "companion/command/Problems.h"

namespace wicket::companion::command {

int Context::report(const ConnectionError& error) const {
  output.printProblem(problemWith(error, connection.socketPath));
  return exit_status::helperFailed;
}

int Context::report(CallError error) const {
  output.printProblem(problemWith(error));
  return error == CallError::interrupted ? exit_status::ofSignal(Interruption::caughtSignal())
                                         : exit_status::helperFailed;
}

}  // namespace wicket::companion::command
