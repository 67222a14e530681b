// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <expected>
#include <string>
#include <sys/types.h>
#include <vector>

#include "adapters/posix/ChildPipes.h"
#include "platform/ChildProcess.h"

namespace wicket::posix {

/// Starts the tool, with the three pipes as its standard streams, in the way that
/// ChildProcessLauncher promises. A tool that cannot be executed is an error here, not a child that
/// ends at once.
[[nodiscard]] std::expected<pid_t, LaunchError> spawnChild(const std::string& launchPath,
                                                           const std::vector<std::string>& arguments,
                                                           const ChildPipes& pipes);

}  // namespace wicket::posix
