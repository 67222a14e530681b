// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <atomic>
#include <memory>

#include "helper/clients/TimedConnections.h"
#include "helper/platform/Listener.h"
#include "helper/platform/Platform.h"

namespace wicket {

/// The one service object: accepts the companion's connections, has each answered by a ClientService of
/// its own, and ends with the last of them. There is one for the life of the process. The listener calls
/// it on its own queue, each connection at its end on that connection's queue, and run() belongs to the
/// main thread.
class PrivilegedHelper final : public ListenerDelegate, public std::enable_shared_from_this<PrivilegedHelper> {
 public:
  /// Builds the suspended listener and writes the start-up line to the system's log.
  explicit PrivilegedHelper(Platform& platform);

  /// Serves clients until the last connection has gone, and returns at the end of that pass.
  void run();
  /// Set once an invalidation has left the registry empty; never cleared.
  [[nodiscard]] bool shouldQuit() const { return shouldQuit_; }

  [[nodiscard]] bool shouldAcceptNewConnection(const std::shared_ptr<Connection>& connection) override;

 private:
  void connectionWasInvalidated();

  Platform& platform_;
  TimedConnections connections_;
  std::atomic<bool> shouldQuit_ = false;
  std::unique_ptr<Listener> listener_;
};

}  // namespace wicket
