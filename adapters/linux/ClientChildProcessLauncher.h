// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <sys/resource.h>

#include "adapters/posix/PosixChildProcessLauncher.h"
#include "helper/platform/ChildProcess.h"

namespace wicket::linux_adapter {

/// Starts what clients ask for: each child starts with a limit of descriptors of its own, and keeps what the call that
/// started it took of its user's shares until nothing of it is left.
class ClientChildProcessLauncher final : public ChildProcessLauncher {
 public:
  explicit ClientChildProcessLauncher(const rlimit& descriptorsOfChildren);
  [[nodiscard]] std::expected<std::shared_ptr<ChildProcess>, LaunchError> launch(ChildProcessTask task) override;

 private:
  PosixChildProcessLauncher children_;
};

}  // namespace wicket::linux_adapter
