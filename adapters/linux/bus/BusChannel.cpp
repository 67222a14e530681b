// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/bus/BusChannel.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <exception>
#include <fcntl.h>
#include <poll.h>
#include <string_view>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <systemd/sd-id128.h>
#include <utility>

#include "adapters/linux/bus/ArgumentReader.h"
#include "adapters/linux/bus/AttributedReceive.h"
#include "adapters/linux/bus/SdTimer.h"
#include "wire/BusNames.h"

namespace wicket::linux_adapter {
namespace {

constexpr std::chrono::microseconds handshakeTime = std::chrono::seconds(5);
/// Answers that sd-bus makes itself (introspection, errors) and that the client has not read.
constexpr std::uint64_t unwrittenMessageLimit = 64;
/// Messages for one client before the others have their turn.
constexpr int messagesPerTurn = 32;
/// What the kernel may hold for a client. sd-bus asks for 8 MiB, which no account here would show.
constexpr int sendBufferSize = 128 << 10;

}  // namespace

BusChannel::BusChannel(std::shared_ptr<BusConnection> connection, Owner& owner, Admission admission)
    : connection_(std::move(connection)),
      owner_(owner),
      admission_(std::move(admission)),
      framer_(wire::messageSizeLimit) {}

int BusChannel::open(sd_event* event, Descriptor client, BusFeed feed) {
  feed_ = std::move(feed.entry);
  int result = startBus(std::move(client), std::move(feed.busEnd));
  if (result >= 0) result = addSources(event);
  return result;
}

int BusChannel::startBus(Descriptor client, Descriptor busEnd) {
  sd_bus* created = nullptr;
  int result = sd_bus_new(&created);
  if (result < 0) return result;
  bus_.reset(created);
  client_ = std::move(client);
  if (!AttributedReceive::enable(client_.get())) return -errno;
  Descriptor outgoing(fcntl(client_.get(), F_DUPFD_CLOEXEC, 0));
  if (!outgoing.isOpen()) return -errno;
  result = sd_bus_set_fd(bus_.get(), busEnd.get(), outgoing.get());
  if (result < 0) return result;
  (void)busEnd.release();
  (void)outgoing.release();

  sd_id128_t id{};
  result = sd_id128_randomize(&id);
  if (result >= 0) result = sd_bus_set_server(bus_.get(), 1, id);
  // The handshake proves nothing here: who may connect is decided by the socket's mode and by the delegate.
  if (result >= 0) result = sd_bus_set_anonymous(bus_.get(), 1);
  if (result >= 0) result = sd_bus_negotiate_fds(bus_.get(), 0);
  if (result >= 0) result = sd_bus_add_filter(bus_.get(), nullptr, &onMessage, this);
  if (result >= 0) result = sd_bus_start(bus_.get());
  setsockopt(client_.get(), SOL_SOCKET, SO_SNDBUF, &sendBufferSize, sizeof sendBufferSize);
  return result;
}

int BusChannel::addSources(sd_event* event) {
  sd_event_source* socket = nullptr;
  int result = sd_event_add_io(event, &socket, client_.get(), EPOLLIN, &onSocket, this);
  if (result < 0) return result;
  socketSource_.reset(socket);
  return armTimer(event, handshakeTimer_, handshakeTime, &onHandshakeTimeout, this);
}

int BusChannel::onSocket(sd_event_source* /*source*/, int /*descriptor*/, std::uint32_t events, void* channel) {
  auto& self = *static_cast<BusChannel*>(channel);
  if ((events & (EPOLLHUP | EPOLLERR)) != 0) self.clientHungUp_ = true;
  self.service();
  return 0;
}

int BusChannel::onHandshakeTimeout(sd_event_source* /*source*/, std::uint64_t /*time*/, void* channel) {
  auto& self = *static_cast<BusChannel*>(channel);
  self.connection_->invalidate();
  self.service();
  return 0;
}

void BusChannel::service() {
  if (phase_ == Phase::closed) return;
  const auto self = shared_from_this();
  try {
    advance();
  } catch (const std::exception&) {
    connection_->invalidate();  // no memory left for this client
  }
  if (connection_->hasEnded()) close();
}

void BusChannel::advance() {
  if (connection_->hasEnded()) return;
  if (phase_ == Phase::deciding) startRunning();
  if (phase_ == Phase::deciding) return;
  processBus();
  readClient();
  if (!connection_->hasEnded()) writeQueued();
  if (wasRefused_ && unwrittenMessages() == 0) return connection_->invalidate();
  if (!connection_->hasEnded()) listenForEvents();
  if (isAnswered()) owner_.answered(*this);
}

bool BusChannel::isAnswered() const { return hasAsked() && sender_.hasAnsweredAll() && unwrittenMessages() == 0; }

bool BusChannel::isWaiting(std::chrono::steady_clock::duration timeToAsk) const {
  if (hasAsked()) return !isAnswered();
  return phase_ == Phase::deciding || hasUnread() || std::chrono::steady_clock::now() - since_ < timeToAsk;
}

void BusChannel::startRunning() {
  if (!connection_->isRunning()) return;
  phase_ = Phase::running;
  since_ = std::chrono::steady_clock::now();
  owner_.decided(*this);
  if (const auto interface = connection_->exportedInterface()) {
    methods_ = BusVtable::ofMethods(*interface, &onCall);
    signals_ = BusVtable::ofReplyBlockSignal();
    if (methods_->addTo(bus_.get(), this) < 0 || signals_->addTo(bus_.get(), this) < 0) connection_->invalidate();
  }
}

void BusChannel::writeQueued() {
  if (phase_ != Phase::running) return;
  if (hasClientHungUp()) {
    // Nobody reads any more, but calls may be left that were sent before.
    connection_->outgoing().close();
    return readClient();
  }
  for (int i = 0; i < messagesPerTurn && unwrittenMessages() == 0; ++i) {
    connection_->outgoing().written();
    const std::optional<Outgoing> item = connection_->outgoing().pop();
    if (!item) return;
    if (sender_.send(bus_.get(), *item) < 0) return connection_->clientEnded();
  }
  if (unwrittenMessages() == 0) connection_->ringChannel();
}

void BusChannel::readClient() {
  bool hasRead = false;
  while (!connection_->hasEnded() && mayRead()) {
    if (inbox_.empty()) {
      // One helping for each turn. A client that hung up causes no more events: take all it left.
      if (hasRead && !clientHungUp_) return;
      if (!fillInbox()) return;
      hasRead = true;
    }
    handOn();
  }
}

bool BusChannel::hasClientHungUp() {
  pollfd state{client_.get(), 0, 0};
  if (!clientHungUp_ && poll(&state, 1, 0) > 0) clientHungUp_ = true;
  return clientHungUp_;
}

bool BusChannel::hasUnread() const {
  pollfd state{client_.get(), POLLIN, 0};
  return poll(&state, 1, 0) > 0;
}

bool BusChannel::mayRead() const {
  if (phase_ == Phase::handshake || phase_ == Phase::exceeding) return !wasRefused_;
  return phase_ == Phase::running && !connection_->isBusy() && unwrittenMessages() < unwrittenMessageLimit;
}

bool BusChannel::fillInbox() {
  const auto received = AttributedReceive::from(client_.get(), buffer_);
  if (received.count < 0 && (errno == EAGAIN || errno == EINTR)) return false;
  if (received.count <= 0) {
    connection_->clientEnded();
    return false;
  }
  // A socket can be handed on, and a client that did so is no companion: nothing of it is believed any more.
  const bool isForeign = received.sender ? *received.sender != connection_->peerPid() : phase_ != Phase::handshake;
  if (isForeign || received.hasMore) {
    connection_->invalidate();
    return false;
  }
  inbox_ = std::span(buffer_).first(static_cast<std::size_t>(received.count));
  inboxSenderIsKnown_ = received.sender.has_value();
  return true;
}

void BusChannel::handOn() {
  const MessageFramer::Piece piece = framer_.next(inbox_);
  if (piece.boundary == MessageFramer::Boundary::violation) return connection_->invalidate();
  // The feed is empty, since the bus takes at once whatever is put there, so the piece fits.
  const ssize_t sent = send(feed_.get(), inbox_.data(), piece.length, MSG_NOSIGNAL);
  if (sent < 0 || static_cast<std::size_t>(sent) != piece.length) return connection_->invalidate();
  inbox_ = inbox_.subspan(piece.length);
  processBus();
  boundaryReached(piece.boundary);
}

void BusChannel::boundaryReached(MessageFramer::Boundary boundary) {
  if (boundary == MessageFramer::Boundary::handshakeEnded) {
    if (sd_bus_is_ready(bus_.get()) <= 0) return connection_->invalidate();
    // A handshake proves nothing, so it may come from nobody in particular; a call may not.
    if (!inboxSenderIsKnown_ && !inbox_.empty()) return connection_->invalidate();
    if (admission_.exceeded != nullptr) {
      // It has what is left of the handshake's time.
      phase_ = Phase::exceeding;
      return owner_.decided(*this);
    }
    handshakeTimer_.reset();
    phase_ = Phase::deciding;
    sd_event_source_set_enabled(socketSource_.get(), SD_EVENT_OFF);
    owner_.handshakeEnded(*this);
  }
  // sd-bus passes over a message that it cannot decode. Its sender would wait for ever.
  if (boundary == MessageFramer::Boundary::messageEnded && !std::exchange(messageWasUnderstood_, false)) {
    connection_->invalidate();
  }
}

void BusChannel::processBus() {
  int result = 0;
  do {
    result = sd_bus_process(bus_.get(), nullptr);
  } while (result > 0);
  if (result < 0) connection_->clientEnded();
}

int BusChannel::onMessage(sd_bus_message* message, void* channel, sd_bus_error* /*error*/) {
  auto& self = *static_cast<BusChannel*>(channel);
  self.messageWasUnderstood_ = true;
  return self.phase_ == Phase::exceeding ? self.refuse(message) : 0;
}

int BusChannel::refuse(sd_bus_message* message) {
  if (sd_bus_message_get_expect_reply(message) <= 0) return 1;
  wasRefused_ = true;
  return sd_bus_reply_method_errorf(message, admission_.exceeded->error, "%s", admission_.exceeded->text);
}

int BusChannel::onCall(sd_bus_message* message, void* channel, sd_bus_error* /*error*/) {
  auto& self = *static_cast<BusChannel*>(channel);
  try {
    return self.deliver(message);
  } catch (const std::exception&) {
    self.connection_->invalidate();
    return -ENOMEM;
  }
}

int BusChannel::deliver(sd_bus_message* message) {
  const std::string_view member = sd_bus_message_get_member(message);
  const auto interface = connection_->exportedInterface();
  if (!interface) return 0;
  const auto selector = std::ranges::find(interface->selectors, member, &wire::memberName);
  if (selector == interface->selectors.end()) return 0;
  auto arguments = readArguments(message, selector->arguments);
  if (!arguments) return arguments.error();
  std::shared_ptr<ReplyBlock> block;
  if (sd_bus_message_get_expect_reply(message) > 0) {
    block = std::make_shared<ReplyBlock>(connection_, sender_.remember(message));
  }
  connection_->deliver({*selector, std::move(*arguments)}, block);
  return 1;
}

std::uint64_t BusChannel::unwrittenMessages() const {
  std::uint64_t count = 0;
  sd_bus_get_n_queued_write(bus_.get(), &count);
  return count;
}

void BusChannel::listenForEvents() {
  if (phase_ == Phase::deciding) return;
  const int wanted = sd_bus_get_events(bus_.get());
  std::uint32_t events = mayRead() ? EPOLLIN : 0U;
  if (wanted > 0 && (static_cast<std::uint32_t>(wanted) & EPOLLOUT) != 0) events |= EPOLLOUT;
  sd_event_source_set_io_events(socketSource_.get(), events);
  // A hang-up would be reported over and over; whatever else there is to do comes by the bell.
  sd_event_source_set_enabled(socketSource_.get(), clientHungUp_ ? SD_EVENT_OFF : SD_EVENT_ON);
}

void BusChannel::close() {
  if (phase_ != Phase::running) owner_.decided(*this);
  phase_ = Phase::closed;
  socketSource_.reset();
  handshakeTimer_.reset();
  sender_.forgetAll();
  bus_.reset();
  client_.reset();
  feed_.reset();
  admission_.share.reset();
  // A connection may be kept long after its end: it must not keep this channel's memory, too.
  connection_->attach({});
  connection_->runOrphanedHandler();
  owner_.closed(*this);
}

}  // namespace wicket::linux_adapter
