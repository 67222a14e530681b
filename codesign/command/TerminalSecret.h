// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <optional>
#include <string>

namespace wicket::codesign::command {

/// Asks on the process's terminal, without showing what is typed; none without a terminal.
[[nodiscard]] std::optional<std::string> askOnTerminal(const std::string& what);

}  // namespace wicket::codesign::command
