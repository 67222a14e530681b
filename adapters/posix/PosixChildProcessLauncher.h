// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <expected>
#include <memory>

#include "adapters/posix/ChildSpawn.h"
#include "helper/platform/ChildProcess.h"

namespace wicket {

/// Children by posix_spawn, or by what the system's own adapters do instead. Each one has two detached threads, which
/// end with it and its streams: one waits for its end, the other runs the handlers.
class PosixChildProcessLauncher : public ChildProcessLauncher {
 public:
  explicit PosixChildProcessLauncher(posix::SpawnChild spawnChild = posix::spawnChild);
  [[nodiscard]] std::expected<std::shared_ptr<ChildProcess>, LaunchError> launch(ChildProcessTask task) override;

 private:
  const posix::SpawnChild spawnChild_;
};

}  // namespace wicket
