// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "adapters/linux/bus/ClientSession.h"
#include "helper/platform/Connection.h"

namespace wicket::linux_adapter {

/// The session of a client as the core has it. One object with it, because jobs and threads that keep the session keep
/// the connection, too: by its identity the core knows it until its invalidation handler has run.
class BusConnection final : public ClientSession, public Connection {
 public:
  using ClientSession::ClientSession;

  [[nodiscard]] AuditTokenData auditToken() const override { return peer().auditToken(); }
  [[nodiscard]] UserIdentifier effectiveUserIdentifier() const override { return peer().client().uid; }
  void setRemoteObjectInterface(const Interface& interface) override;
  void setExportedInterface(const Interface& interface) override { exportInterface(interface); }
  void setExportedObject(std::shared_ptr<HelperProtocol> object) override { exportObject(std::move(object)); }
  void setInvalidationHandler(std::function<void()> handler) override { handleEndBy(std::move(handler)); }
  void resume() override { start(); }
  void invalidate() override { cut(); }
  [[nodiscard]] std::shared_ptr<AppProtocol> remoteObjectProxy() override;
  void waitForCapacity() override { outgoing().waitForCapacity(); }

 private:
  std::mutex mutex_;
  std::optional<Interface> remoteInterface_;
};

}  // namespace wicket::linux_adapter
