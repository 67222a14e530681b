// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "adapters/linux/bus/BusDoorbell.h"
#include "adapters/linux/bus/HelperCall.h"
#include "adapters/linux/bus/Outgoing.h"
#include "adapters/linux/bus/OutgoingQueue.h"
#include "adapters/linux/bus/SerialExecutor.h"
#include "adapters/linux/peer/PeerProcess.h"
#include "adapters/linux/peer/UserShares.h"
#include "protocol/HelperProtocol.h"
#include "protocol/Selector.h"

namespace wicket::linux_adapter {

/// One client as all threads share it: who it is, what waits to be sent to it, what it has asked and whether it is
/// still wanted. The socket and the D-Bus side belong to the I/O thread, in a BusChannel, whose bell is rung whenever
/// something changes here. The core has the same object as a BusConnection.
///
/// A client that closes still has the calls run that it had sent by then; after cut() no call starts any more. Before
/// each call the process is looked at once more: one that has ended or runs another executable by then is cut instead.
/// So is a client that does not read what others have sent to it, once OutgoingQueue::limit is reached.
class ClientSession : public OutgoingSink, public std::enable_shared_from_this<ClientSession> {
 public:
  /// @p shares must outlive the calls.
  ClientSession(std::shared_ptr<BusDoorbell> doorbell, const PeerProcess& peer, UserShares& shares);

  /// @name Any thread
  /// @{
  void send(Outgoing item) noexcept override;
  void cut() override;
  /// The process that connected: what another one sends is none of its calls.
  [[nodiscard]] const PeerProcess& peer() const { return peer_; }
  /// True once nothing may pass any more: the channel has to close.
  [[nodiscard]] bool hasEnded() const;
  /// Has the channel look after everything again.
  void ringChannel() noexcept;
  /// @}

  /// @name The delegate's answer, on its queue
  /// @{
  void accept();
  void refuse();
  /// @}

  /// @name For the channel, I/O thread only
  /// @{
  void attach(std::weak_ptr<BusWorker> channel);
  /// The channel has closed. Runs the invalidation handler if no thread could be had for it.
  void detach();
  /// True once calls may be delivered: accepted and resumed.
  [[nodiscard]] bool isRunning() const;
  [[nodiscard]] std::optional<Interface> exportedInterface() const;
  void deliver(HelperCall call, const std::shared_ptr<ReplyBlock>& block);
  /// True while so much is unfinished that the client has to wait with its next message.
  [[nodiscard]] bool isBusy() const;
  [[nodiscard]] OutgoingQueue& outgoing() { return outgoing_; }
  /// The client is gone.
  void clientEnded();
  /// @}

 protected:
  /// @name What the core says of its Connection
  /// @{
  void exportInterface(const Interface& interface);
  void exportObject(std::shared_ptr<HelperProtocol> object);
  void handleEndBy(std::function<void()> handler);
  void start();
  /// @}

 private:
  enum class End { none, refused, clientGone, cut };

  void end(End reason);
  /// False if there is no thread for the invalidation handler.
  [[nodiscard]] bool finishExecutor(bool hasHandler) noexcept;
  void runHandler();
  void perform(const HelperCall& call, const std::shared_ptr<ReplyBlock>& block);
  [[nodiscard]] bool isStillTheClient() const;
  void performWithinLimits(HelperProtocol& object, const HelperCall& call, const std::shared_ptr<ReplyBlock>& block);
  void callReturned(std::size_t size);
  /// With the mutex held.
  [[nodiscard]] bool hasManyUnfinishedCalls() const;

  const std::shared_ptr<BusDoorbell> doorbell_;
  const PeerProcess peer_;
  UserShares& shares_;
  OutgoingQueue outgoing_;
  SerialExecutor executor_;

  mutable std::mutex mutex_;
  std::weak_ptr<BusWorker> channel_;
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
