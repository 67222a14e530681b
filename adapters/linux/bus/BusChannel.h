// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>

#include "adapters/linux/bus/BusDoorbell.h"
#include "adapters/linux/bus/BusSender.h"
#include "adapters/linux/bus/BusVtable.h"
#include "adapters/linux/bus/ClientInbox.h"
#include "adapters/linux/bus/ClientSession.h"
#include "adapters/linux/bus/ServerBus.h"
#include "adapters/linux/peer/UserShares.h"
#include "base/system/Descriptor.h"
#include "base/system/linux/SdHandle.h"
#include "wire/UserLimits.h"

namespace wicket::linux_adapter {

/// The socket and the D-Bus side of one client. I/O thread only.
///
/// sd-bus writes to the client's socket but reads from a feed: what the client sends is read here and
/// handed on message by message. So nothing is handed on before the client has been accepted, a
/// message's size is known before it takes memory, and a client with too much unfinished waits in its
/// socket.
class BusChannel final : public BusWorker, public std::enable_shared_from_this<BusChannel> {
 public:
  /// Who keeps the channels.
  class Owner {
   public:
    Owner() = default;
    Owner(const Owner&) = delete;
    Owner& operator=(const Owner&) = delete;
    virtual ~Owner() = default;
    /// The client has said who it is and waits to be accepted.
    virtual void handshakeEnded(BusChannel& channel) = 0;
    /// Accepted, refused or closed early: the client waits no longer.
    virtual void decided(BusChannel& channel) = 0;
    /// Nothing that the client has asked is unanswered.
    virtual void answered(BusChannel& channel) = 0;
    virtual void closed(BusChannel& channel) = 0;
  };

  /// How the client came in.
  struct Admission {
    UserShares::Share share;          ///< kept as long as the connection is open
    const wire::UserLimit* exceeded;  ///< the limit above which this one is; null for none
  };

  BusChannel(std::shared_ptr<ClientSession> session, Owner& owner, Admission admission);

  /// Starts to speak with the client; a negative errno on failure.
  [[nodiscard]] int open(sd_event* event, Descriptor client, BusFeed feed);
  /// Goes on wherever something may have changed, and closes when the session has ended.
  void service() override;
  /// Whether the client waits for something of ours: for the decision about it, for an answer, or for what it has sent
  /// to be read. So does one that has not had @p timeToAsk yet.
  [[nodiscard]] bool isWaiting(std::chrono::steady_clock::duration timeToAsk) const;

 private:
  /// One that exceeds a limit is told so when it asks something, and nothing else.
  enum class Phase { handshake, deciding, exceeding, running, closed };

  static int onSocket(sd_event_source* source, int descriptor, std::uint32_t events, void* channel);
  static int onHandshakeTimeout(sd_event_source* source, std::uint64_t time, void* channel);
  static int onMessage(sd_bus_message* message, void* channel, sd_bus_error* error);
  static int onCall(sd_bus_message* message, void* channel, sd_bus_error* error);

  int addSources(sd_event* event);
  void advance();
  void startRunning();
  int refuse(sd_bus_message* message);
  void writeQueued();
  void readClient();
  /// Whether there is something now that counts.
  bool fillInbox();
  void handOn();
  void boundaryReached(MessageFramer::Boundary boundary);
  void processBus();
  int deliver(sd_bus_message* message);
  [[nodiscard]] bool hasClientHungUp();
  [[nodiscard]] bool hasUnread() const;
  [[nodiscard]] bool hasAsked() const { return sender_.hasBeenAsked(); }
  /// True once the client has asked something and has all its answers.
  [[nodiscard]] bool isAnswered() const;
  [[nodiscard]] bool mayRead() const;
  void listenForEvents();
  void close();

  const std::shared_ptr<ClientSession> session_;
  Owner& owner_;
  Admission admission_;
  std::chrono::steady_clock::time_point since_ = std::chrono::steady_clock::now();  ///< when it could begin to speak
  Phase phase_ = Phase::handshake;
  std::optional<BusVtable> methods_;
  std::optional<BusVtable> signals_;

  /// The bus has a duplicate of its own, which it closes when it likes. This one leaves the event loop
  /// before it is closed: a socket that a starting child still holds would stay in the loop otherwise,
  /// with nothing left behind it.
  Descriptor client_;
  ServerBus bus_;
  SdHandle<sd_event_source> socketSource_;
  SdHandle<sd_event_source> handshakeTimer_;
  BusSender sender_;

  ClientInbox inbox_;
  bool clientHungUp_ = false;
  bool messageWasUnderstood_ = false;
  bool wasRefused_ = false;
};

}  // namespace wicket::linux_adapter
