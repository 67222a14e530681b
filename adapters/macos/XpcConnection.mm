// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/macos/XpcConnection.h"

#include <bit>
#include <bsm/audit.h>
#include <utility>

#include "adapters/macos/AppProtocol.h"
#include "adapters/macos/HelperProtocol.h"
#include "adapters/macos/WicketExportedObject.h"
#include "adapters/macos/XpcAppProxy.h"

/// The class has the property but does not publish it. The published process number cannot take its place: it may
/// name another process by the time it is looked at.
@interface NSXPCConnection (AuditToken)
@property(nonatomic, readonly) audit_token_t auditToken;
@end

namespace wicket::macos_adapter {
namespace {

/// The declaration that the compiler has recorded for XPC to read.
NSXPCInterface* xpcInterface(const Interface& interface) {
  const bool isHelper = interface.name == helper_protocol::interface.name;
  return [NSXPCInterface interfaceWithProtocol:isHelper ? @protocol(HelperProtocol) : @protocol(AppProtocol)];
}

}  // namespace

XpcConnection::XpcConnection(NSXPCConnection* connection, std::shared_ptr<ServedCalls> calls)
    : connection_(connection),
      calls_(std::move(calls)),
      auditToken_(std::bit_cast<AuditTokenData>(connection.auditToken)),
      user_(connection.effectiveUserIdentifier) {}

void XpcConnection::setRemoteObjectInterface(const Interface& interface) {
  connection_.remoteObjectInterface = xpcInterface(interface);
}

void XpcConnection::setExportedInterface(const Interface& interface) {
  connection_.exportedInterface = xpcInterface(interface);
}

void XpcConnection::setExportedObject(std::shared_ptr<HelperProtocol> object) {
  connection_.exportedObject = [[WicketExportedObject alloc] initWithObject:std::move(object)
                                                                 connection:connection_
                                                                      calls:calls_];
}

void XpcConnection::setInvalidationHandler(std::function<void()> handler) {
  const auto window = window_;
  const auto run = std::move(handler);
  connection_.invalidationHandler = ^{
    window->close();
    [&]() noexcept { run(); }();
  };
}

void XpcConnection::resume() { [connection_ resume]; }

void XpcConnection::invalidate() {
  window_->close();
  [connection_ invalidate];
}

std::shared_ptr<AppProtocol> XpcConnection::remoteObjectProxy() {
  @autoreleasepool {
    id object = connection_.remoteObjectProxy;
    if (![object conformsToProtocol:@protocol(AppProtocol)]) return nullptr;
    return std::make_shared<XpcAppProxy>(object, connection_, window_);
  }
}

void XpcConnection::waitForCapacity() { window_->waitForCapacity(); }

}  // namespace wicket::macos_adapter
