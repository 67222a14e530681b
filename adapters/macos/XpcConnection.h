// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#import <Foundation/Foundation.h>
#include <functional>
#include <memory>

#include "adapters/macos/SendWindow.h"
#include "adapters/macos/ServedCalls.h"
#include "helper/platform/Connection.h"

namespace wicket::macos_adapter {

/// One client's NSXPCConnection.
class XpcConnection final : public Connection {
 public:
  /// The audit token is read here, before any message of the client's can have changed it.
  XpcConnection(NSXPCConnection* connection, std::shared_ptr<ServedCalls> calls);

  AuditTokenData auditToken() const override { return auditToken_; }
  UserIdentifier effectiveUserIdentifier() const override { return user_; }
  void setRemoteObjectInterface(const Interface& interface) override;
  void setExportedInterface(const Interface& interface) override;
  void setExportedObject(std::shared_ptr<HelperProtocol> object) override;
  void setInvalidationHandler(std::function<void()> handler) override;
  void resume() override;
  void invalidate() override;
  std::shared_ptr<AppProtocol> remoteObjectProxy() override;
  /// XPC queues without limit, so this counts what has not left the process yet; see SendWindow. A call of this
  /// client's that is still running delays the counting down, but not the return after an invalidate().
  void waitForCapacity() override;

 private:
  NSXPCConnection* const connection_;
  const std::shared_ptr<ServedCalls> calls_;
  const AuditTokenData auditToken_;
  const UserIdentifier user_;
  const std::shared_ptr<SendWindow> window_ = std::make_shared<SendWindow>();
};

}  // namespace wicket::macos_adapter
