// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "clients/TimedConnections.h"
#include "platform/Listener.h"
#include "platform/Platform.h"
#include "protocol/HelperProtocol.h"

namespace wicket {

/// The one service object: accepts the companion's connections and answers its calls. There is one
/// for the life of the process. The listener calls it on its own queue, each connection on that
/// connection's queue, and run() belongs to the main thread.
class PrivilegedHelper final : public ListenerDelegate,
                               public HelperProtocol,
                               public std::enable_shared_from_this<PrivilegedHelper> {
 public:
  /// Builds the suspended listener and writes the start-up line to the system's log.
  explicit PrivilegedHelper(Platform& platform);

  /// Serves clients until the last connection has gone, and returns at the end of that pass.
  void run();
  /// Set once an invalidation has left the registry empty; never cleared.
  [[nodiscard]] bool shouldQuit() const { return shouldQuit_; }

  [[nodiscard]] bool shouldAcceptNewConnection(const std::shared_ptr<Connection>& connection) override;

  void getVersion(const VersionCompletion& completion) override;
  void installScript(const std::string& path, const AuthorizationData& authData,
                     const CodeCompletion& completion) override;
  void runCommand(const std::string& filename, const std::vector<std::string>& arguments,
                  const CodeCompletion& completion) override;
  void uninstall(bool all) override;
  void uninstallScriptAt(const std::string& path, const CodeCompletion& completion) override;
  void uninstallScriptWithFilename(const std::string& filename, const CodeCompletion& completion) override;

 private:
  void connectionWasInvalidated();
  [[nodiscard]] bool verifyAuthorization(const AuthorizationData& authData, const Selector& command);

  Platform& platform_;
  const std::string bashShebang_ = "#!/bin/bash";
  TimedConnections connections_;
  std::atomic<bool> shouldQuit_ = false;
  std::unique_ptr<Listener> listener_;
};

}  // namespace wicket
