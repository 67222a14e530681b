// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/ClientChildProcessLauncher.h"

#include <utility>

#include "adapters/linux/LimitedSpawn.h"
#include "adapters/linux/peer/CallingClient.h"

namespace wicket::linux_adapter {

ClientChildProcessLauncher::ClientChildProcessLauncher(const rlimit& descriptorsOfChildren)
    : children_(LimitedSpawn{descriptorsOfChildren}) {}

std::expected<std::shared_ptr<ChildProcess>, LaunchError> ClientChildProcessLauncher::launch(ChildProcessTask task) {
  // The handlers are let go of when both streams have ended and the child is gone.
  if (const auto client = CallingClient::current(); client && client->share != nullptr) {
    task.onTermination = [share = client->share, handler = std::move(task.onTermination)](int status) {
      if (handler) handler(status);
    };
  }
  return children_.launch(std::move(task));
}

}  // namespace wicket::linux_adapter
