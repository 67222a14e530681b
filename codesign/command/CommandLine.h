// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>
#include <vector>

#include "codesign/command/Commands.h"

namespace wicket::codesign::command {

/// Runs the subcommand that the words ask for (without the program's name) and returns its exit status.
[[nodiscard]] int runCommandLine(std::vector<std::string> words, Context& context);

}  // namespace wicket::codesign::command
