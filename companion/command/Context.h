// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>

#include "companion/HelperConnection.h"
#include "companion/PolkitTextAgent.h"
#include "companion/command/Output.h"
#include "protocol/HelperPath.h"

namespace wicket::companion::command {

/// What every subcommand works with.
struct Context {
  Output& output;
  ConnectOptions connection{};
  std::string scriptFolder = HelperPath::privilegedScriptFolder;
  std::string textAgent = PolkitTextAgent::usualExecutable;
  bool inputIsTerminal = false;

  /// Prints the problem and gives the exit status of a command that could not reach the helper.
  int report(const ConnectionError& error) const;
  /// The same for a call that was not answered.
  int report(CallError error) const;
};

}  // namespace wicket::companion::command
