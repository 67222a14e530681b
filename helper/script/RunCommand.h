// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "helper/platform/ChildProcess.h"
#include "helper/platform/Connection.h"
#include "helper/platform/FileManager.h"
#include "protocol/HelperProtocol.h"

namespace wicket {

/// Runs an installed script for a client.
struct RunCommand {
  /// The connection that gets lines for the user at the moment of the call; may be null.
  using LastConnection = std::function<std::shared_ptr<Connection>()>;

  /// The name is joined to the script folder as it comes: only who may connect guards what is run.
  /// @p arguments are stored with the script but reach no child, as an installed script has a path.
  /// @p completion is called once when nothing was started, otherwise once at the start and once at
  /// the end of the script.
  static void runTask(FileManager& fileManager, ChildProcessLauncher& launcher, const std::string& filename,
                      const std::vector<std::string>& arguments, const LastConnection& lastConnection,
                      const HelperProtocol::CodeCompletion& completion);
};

}  // namespace wicket
