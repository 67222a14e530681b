// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

#include "helper/platform/AuditToken.h"
#include "protocol/AppProtocol.h"
#include "protocol/HelperProtocol.h"
#include "protocol/Selector.h"

namespace wicket {

/// A user of this system, as a number.
using UserIdentifier = std::uint32_t;

/// One client connection. It arrives suspended: no call is delivered before resume(). Calls of the
/// exported object and the invalidation handler run one after the other on the connection's own
/// serial queue, so a call that blocks holds up neither other connections nor the main queue.
/// The operations below may be called from any thread. Identity, not equality, tells two
/// connections apart.
class Connection {
 public:
  /// In bytes; see waitForCapacity().
  static constexpr std::size_t highWaterMark = std::size_t{1} << 20U;

  Connection() = default;
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  virtual ~Connection() = default;

  /// The process at the other end, as the kernel knew it when the connection was made. The same bytes
  /// whenever it is called.
  [[nodiscard]] virtual AuditTokenData auditToken() const = 0;

  /// The user as whom that process ran then. The same whenever it is called.
  [[nodiscard]] virtual UserIdentifier effectiveUserIdentifier() const = 0;

  /// The protocol that the client exports. Set before resume().
  virtual void setRemoteObjectInterface(const Interface& interface) = 0;
  /// The protocol that this side exports, and the object behind it, which the connection keeps as long
  /// as calls may come. Set before resume().
  virtual void setExportedInterface(const Interface& interface) = 0;
  virtual void setExportedObject(std::shared_ptr<HelperProtocol> object) = 0;
  /// Runs at most once, on the serial queue, after a local invalidate() or the client's end alike,
  /// never before a call that is still running has returned; it is dropped afterwards.
  virtual void setInvalidationHandler(std::function<void()> handler) = 0;
  virtual void resume() = 0;

  /// Cuts the connection without waiting: no message passes from then on, in either direction.
  /// Replies and log lines that come later are dropped. A second call has no effect.
  virtual void invalidate() = 0;

  /// The client's object, or null when it is not of AppProtocol. What is sent through it after the
  /// invalidation is dropped silently.
  [[nodiscard]] virtual std::shared_ptr<AppProtocol> remoteObjectProxy() = 0;
  /// Blocks while more than about highWaterMark is queued in memory for this client, until the queue
  /// has drained or the connection is invalidated. Whoever produces output without end calls it
  /// before each piece, never on a thread that other clients wait for.
  virtual void waitForCapacity() = 0;
};

}  // namespace wicket
