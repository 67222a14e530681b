// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "adapters/linux/bus/BusDoorbell.h"
#include "adapters/linux/bus/HelperCall.h"
#include "adapters/linux/bus/OutgoingQueue.h"
#include "adapters/linux/bus/SerialExecutor.h"
#include "adapters/linux/peer/PeerProcess.h"
#include "helper/platform/Connection.h"

namespace wicket::linux_adapter {

/// A client connection as all threads see it. The socket and the D-Bus side belong to the I/O
/// thread, in a BusChannel; the two share what is declared here and ring each other's bell.
///
/// A client that closes still has the calls run that it had sent by then; after invalidate() no call
/// starts any more. Before each call the process is looked at once more: one that has ended or runs
/// another executable by then has its connection invalidated instead. A client that does not read what others have sent
/// to it is invalidated once OutgoingQueue::limit is reached.
class BusConnection final : public Connection, public std::enable_shared_from_this<BusConnection> {
 public:
  /// @p shares must outlive the calls.
  BusConnection(std::shared_ptr<BusDoorbell> doorbell, const PeerProcess& peer, UserShares& shares);

  [[nodiscard]] AuditTokenData auditToken() const override { return peer_.auditToken(); }
  [[nodiscard]] UserIdentifier effectiveUserIdentifier() const override { return peer_.client().uid; }
  void setRemoteObjectInterface(const Interface& interface) override;
  void setExportedInterface(const Interface& interface) override;
  void setExportedObject(std::shared_ptr<HelperProtocol> object) override;
  void setInvalidationHandler(std::function<void()> handler) override;
  void resume() override;
  void invalidate() override;
  [[nodiscard]] std::shared_ptr<AppProtocol> remoteObjectProxy() override;
  void waitForCapacity() override;

  /// Any thread. Queues @p item for the client; never blocks, never fails.
  void send(Outgoing item) noexcept;
  /// Any thread. Has the channel look after everything again.
  void ringChannel() noexcept;

  /// @name For the listener
  /// @{
  /// The delegate's answer.
  void accept();
  void refuse();
  /// @}

  /// @name For the channel, I/O thread only
  /// @{
  void attach(std::weak_ptr<BusWorker> channel);
  /// True once calls may be delivered: accepted and resumed.
  [[nodiscard]] bool isRunning() const;
  /// True once nothing may pass any more: the channel has to close.
  [[nodiscard]] bool hasEnded() const;
  /// The client is gone.
  void clientEnded();
  /// Runs the invalidation handler if no thread could be had for it.
  void runOrphanedHandler();
  [[nodiscard]] std::optional<Interface> exportedInterface() const;
  void deliver(HelperCall call, const std::shared_ptr<ReplyBlock>& block);
  /// True while so much is unfinished that the client has to wait with its next message.
  [[nodiscard]] bool isBusy() const;
  [[nodiscard]] OutgoingQueue& outgoing() { return outgoing_; }
  /// The process that connected: what another one sends is none of its calls.
  [[nodiscard]] pid_t peerPid() const { return peer_.pid(); }
  /// @}

 private:
  enum class End { none, refused, clientGone, invalidated };

  void end(End reason);
  /// False if there is no thread for the invalidation handler.
  [[nodiscard]] bool finishExecutor(bool hasHandler) noexcept;
  void perform(const HelperCall& call, const std::shared_ptr<ReplyBlock>& block);
  [[nodiscard]] bool isStillTheClient() const;
  void performWithinLimits(HelperProtocol& object, const HelperCall& call, const std::shared_ptr<ReplyBlock>& block);
  void callReturned(std::size_t size);
  /// With the mutex held.
  [[nodiscard]] bool hasManyUnfinishedCalls() const;
  void runHandler();

  const std::shared_ptr<BusDoorbell> doorbell_;
  const PeerProcess peer_;
  UserShares& shares_;
  OutgoingQueue outgoing_;
  SerialExecutor executor_;

  mutable std::mutex mutex_;
  std::weak_ptr<BusWorker> channel_;
  std::optional<Interface> remoteInterface_;
  std::optional<Interface> exportedInterface_;
  std::shared_ptr<HelperProtocol> exportedObject_;
  std::function<void()> invalidationHandler_;
  bool isAccepted_ = false;
  bool isResumed_ = false;
  bool handlerIsOrphaned_ = false;
  End end_ = End::none;
  std::size_t unfinishedCalls_ = 0;
  std::size_t unfinishedBytes_ = 0;
};

}  // namespace wicket::linux_adapter
