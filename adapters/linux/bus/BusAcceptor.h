// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <systemd/sd-event.h>
#include <unordered_map>
#include <unordered_set>

#include "adapters/linux/bus/BusChannel.h"
#include "adapters/linux/bus/BusConnection.h"
#include "adapters/linux/bus/BusDoorbell.h"
#include "adapters/linux/bus/ClientInbox.h"
#include "adapters/linux/bus/SerialExecutor.h"
#include "adapters/linux/peer/UserShares.h"
#include "base/system/Descriptor.h"
#include "base/system/linux/SdHandle.h"
#include "helper/platform/Listener.h"

namespace wicket::linux_adapter {

/// Takes clients from the listening socket and keeps their channels. I/O thread only; the delegate is
/// asked on a serial queue of its own, in the order in which the clients' handshakes ended. Of a user who has as many
/// connections as he may have it is not asked about any more: they are told so, and as many again may wait for that.
class BusAcceptor final : public BusChannel::Owner {
 public:
  BusAcceptor(Descriptor listening, std::shared_ptr<BusDoorbell> doorbell, UserShares& shares,
              SerialExecutor& delegateQueue, ListenerDelegate& delegate);

  void start(sd_event* event);
  /// Takes no more clients. Calls @p done once nobody waits for an answer any more, or after the grace time.
  void finish(std::function<void()> done);
  /// Cuts all clients.
  void stop();

 private:
  struct Client {
    std::shared_ptr<BusChannel> channel;
    std::shared_ptr<BusConnection> connection;  ///< its session, for the delegate
  };

  static int onClients(sd_event_source* source, int descriptor, std::uint32_t events, void* acceptor);
  static int onRested(sd_event_source* source, std::uint64_t time, void* acceptor);
  static int onGraceEnded(sd_event_source* source, std::uint64_t time, void* acceptor);

  void acceptClientsOrRest();
  void acceptClients();
  /// Makes what the next client needs before taking it, so that no client is taken and then dropped.
  [[nodiscard]] bool prepareFeed();
  /// Makes a channel for the client that was accepted last; false if there is nothing to make it of now.
  [[nodiscard]] bool take();
  void rest();
  void listenForClients();

  void handshakeEnded(BusChannel& channel) override;
  void decided(BusChannel& channel) override;
  void answered(BusChannel& channel) override;
  void closed(BusChannel& channel) override;
  void noLongerAwaited(const BusChannel& channel);
  void endGrace();

  const Descriptor listening_;
  const std::shared_ptr<BusDoorbell> doorbell_;
  UserShares& shares_;
  SerialExecutor& delegateQueue_;
  ListenerDelegate& delegate_;
  sd_event* event_ = nullptr;
  SdHandle<sd_event_source> clientsSource_;
  SdHandle<sd_event_source> restTimer_;
  bool isResting_ = false;
  std::optional<BusFeed> nextFeed_;
  Descriptor newcomer_;  ///< accepted, and waiting for its channel
  std::unordered_map<const BusChannel*, Client> clients_;
  std::unordered_set<const BusChannel*> undecided_;

  /// @name Once finish() has been called
  /// @{
  std::unordered_set<const BusChannel*> awaited_;
  SdHandle<sd_event_source> graceTimer_;
  std::function<void()> done_;
  /// @}
};

}  // namespace wicket::linux_adapter
