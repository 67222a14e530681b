// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <expected>
#include <string>
#include <sys/resource.h>
#include <sys/types.h>
#include <vector>

#include "adapters/posix/ChildPipes.h"
#include "helper/platform/ChildProcess.h"

namespace wicket::linux_adapter {

/// posix::spawnChild() for a process that has raised its own limit of descriptors: the child starts with another one,
/// which posix_spawn(3) cannot give it.
struct LimitedSpawn {
  rlimit descriptors;

  [[nodiscard]] std::expected<pid_t, LaunchError> operator()(const std::string& launchPath,
                                                             const std::vector<std::string>& arguments,
                                                             const posix::ChildPipes& pipes) const;
};

}  // namespace wicket::linux_adapter
