// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <expected>
#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

#include "adapters/posix/ChildPipes.h"
#include "helper/platform/ChildProcess.h"

namespace wicket::posix {

/// One way to start a child: spawnChild(), or what does the same.
using SpawnChild = std::function<std::expected<pid_t, LaunchError>(
    const std::string& launchPath, const std::vector<std::string>& arguments, const ChildPipes& pipes)>;

/// argv for the system: C strings, which end at the first NUL, and a null pointer.
class ArgumentVector {
 public:
  ArgumentVector(const std::string& launchPath, const std::vector<std::string>& arguments);
  ArgumentVector(const ArgumentVector&) = delete;
  ArgumentVector& operator=(const ArgumentVector&) = delete;
  [[nodiscard]] char* const* get() const { return pointers_.data(); }

 private:
  std::vector<std::string> strings_;
  std::vector<char*> pointers_;
};

/// Starts the tool, with the three pipes as its standard streams, in the way that
/// ChildProcessLauncher promises. A tool that cannot be executed is an error here, not a child that
/// ends at once.
[[nodiscard]] std::expected<pid_t, LaunchError> spawnChild(const std::string& launchPath,
                                                           const std::vector<std::string>& arguments,
                                                           const ChildPipes& pipes);

}  // namespace wicket::posix
