// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>
#include <vector>

#include "companion/command/Context.h"

namespace wicket::companion::command {

/// Runs the subcommand that the words ask for (without the program's name) and returns its exit status.
[[nodiscard]] int runCommandLine(std::vector<std::string> words, Context& context);

}  // namespace wicket::companion::command
