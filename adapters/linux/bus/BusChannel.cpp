// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/bus/BusChannel.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <exception>
#include <poll.h>
#include <string_view>
#include <sys/epoll.h>
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

}  // namespace

BusChannel::BusChannel(std::shared_ptr<ClientSession> session, Owner& owner, Admission admission)
    : session_(std::move(session)), owner_(owner), admission_(std::move(admission)), inbox_(session_->peer().pid()) {}

int BusChannel::open(sd_event* event, Descriptor client, BusFeed feed) {
  client_ = std::move(client);
  inbox_.feed(std::move(feed.entry));
  if (!AttributedReceive::enable(client_.get())) return -errno;
  const int result = bus_.start(client_.get(), std::move(feed.busEnd), &onMessage, this);
  return result < 0 ? result : addSources(event);
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
  self.session_->cut();
  self.service();
  return 0;
}

void BusChannel::service() {
  if (phase_ == Phase::closed) return;
  const auto self = shared_from_this();
  try {
    advance();
  } catch (const std::exception&) {
    session_->cut();  // no memory left for this client
  }
  // Whatever has ended the session, here or on another thread, it is closed in this one place, where no step is under
  // way any more that could use what is closed.
  if (session_->hasEnded()) close();
}

void BusChannel::advance() {
  if (session_->hasEnded()) return;
  if (phase_ == Phase::deciding) startRunning();
  // Until it has been accepted nothing of the client is looked at, not even by the bus.
  if (phase_ == Phase::deciding) return;
  // First what the bus has kept back goes out: how much of it is left decides whether more is read and written.
  processBus();
  // Reading comes before writing, so that the calls of a client that has hung up are taken before anything more is
  // written to it, which would fail and end the session. Whatever the bus answers by itself then goes out before what
  // is queued.
  readClient();
  if (!session_->hasEnded()) writeQueued();
  // The refusal was made while reading. The client is cut only when it is in the socket.
  if (wasRefused_ && bus_.unwrittenMessages() == 0) return session_->cut();
  // Once all is read and written it shows what there is to wait for.
  if (!session_->hasEnded()) listenForEvents();
  // Last, since the listener may be waiting for just this in order to end.
  if (isAnswered()) owner_.answered(*this);
}

bool BusChannel::isAnswered() const { return hasAsked() && sender_.hasAnsweredAll() && bus_.unwrittenMessages() == 0; }

bool BusChannel::isWaiting(std::chrono::steady_clock::duration timeToAsk) const {
  if (hasAsked()) return !isAnswered();
  return phase_ == Phase::deciding || hasUnread() || std::chrono::steady_clock::now() - since_ < timeToAsk;
}

void BusChannel::startRunning() {
  if (!session_->isRunning()) return;
  phase_ = Phase::running;
  since_ = std::chrono::steady_clock::now();
  owner_.decided(*this);
  // Before a message is handed on: the bus would answer a call for which it knows no object with an error.
  if (const auto interface = session_->exportedInterface()) {
    methods_ = BusVtable::ofMethods(*interface, &onCall);
    signals_ = BusVtable::ofReplyBlockSignal();
    if (methods_->addTo(bus_.get(), this) < 0 || signals_->addTo(bus_.get(), this) < 0) session_->cut();
  }
}

void BusChannel::writeQueued() {
  if (phase_ != Phase::running) return;
  if (hasClientHungUp()) {
    // Nobody reads any more, but calls may be left that were sent before.
    session_->outgoing().close();
    return readClient();
  }
  for (int i = 0; i < messagesPerTurn && bus_.unwrittenMessages() == 0; ++i) {
    // The bus holds nothing back, so all that was taken is in the socket: only then is it off the account.
    session_->outgoing().written();
    const std::optional<Outgoing> item = session_->outgoing().pop();
    if (!item) return;
    if (sender_.send(bus_.get(), *item) < 0) return session_->clientEnded();
  }
  // There may be more, and no event of the socket tells of it: the others have their turn first.
  if (bus_.unwrittenMessages() == 0) session_->ringChannel();
}

void BusChannel::readClient() {
  bool hasRead = false;
  // Asked anew for each message: the one before may have ended the session, or have been one too many for now.
  while (!session_->hasEnded() && mayRead()) {
    if (inbox_.isEmpty()) {
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
  return phase_ == Phase::running && !session_->isBusy() && bus_.unwrittenMessages() < unwrittenMessageLimit;
}

bool BusChannel::fillInbox() {
  const auto received = inbox_.receive(client_.get(), phase_ == Phase::handshake);
  if (received == ClientInbox::Received::end) session_->clientEnded();
  if (received == ClientInbox::Received::violation) session_->cut();
  return received == ClientInbox::Received::piece;
}

void BusChannel::handOn() {
  const MessageFramer::Boundary boundary = inbox_.handOn();
  if (boundary == MessageFramer::Boundary::violation) return session_->cut();
  // At once, so that the feed is empty for the next piece, and that what the bus makes of this message is known when
  // its end is looked at.
  processBus();
  boundaryReached(boundary);
}

void BusChannel::boundaryReached(MessageFramer::Boundary boundary) {
  if (boundary == MessageFramer::Boundary::handshakeEnded) {
    if (!bus_.isReady()) return session_->cut();
    // A handshake proves nothing, so it may come from nobody in particular; a call may not.
    if (inbox_.hasAnonymousRest()) return session_->cut();
    if (admission_.exceeded != nullptr) {
      // It has what is left of the handshake's time.
      phase_ = Phase::exceeding;
      return owner_.decided(*this);
    }
    // All before the owner is told, since its answer may come while it is being told.
    handshakeTimer_.reset();
    phase_ = Phase::deciding;
    sd_event_source_set_enabled(socketSource_.get(), SD_EVENT_OFF);
    owner_.handshakeEnded(*this);
  }
  // sd-bus passes over a message that it cannot decode. Its sender would wait for ever.
  if (boundary == MessageFramer::Boundary::messageEnded && !std::exchange(messageWasUnderstood_, false)) {
    session_->cut();
  }
}

void BusChannel::processBus() {
  if (!bus_.process()) session_->clientEnded();
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
    self.session_->cut();
    return -ENOMEM;
  }
}

int BusChannel::deliver(sd_bus_message* message) {
  const std::string_view member = sd_bus_message_get_member(message);
  const auto interface = session_->exportedInterface();
  if (!interface) return 0;
  const auto selector = std::ranges::find(interface->selectors, member, &wire::memberName);
  if (selector == interface->selectors.end()) return 0;
  auto arguments = readArguments(message, selector->arguments);
  if (!arguments) return arguments.error();
  std::shared_ptr<ReplyBlock> block;
  if (sd_bus_message_get_expect_reply(message) > 0) {
    block = std::make_shared<ReplyBlock>(session_, sender_.remember(message));
  }
  session_->deliver({*selector, std::move(*arguments)}, block);
  return 1;
}

void BusChannel::listenForEvents() {
  if (phase_ == Phase::deciding) return;
  std::uint32_t events = mayRead() ? EPOLLIN : 0U;
  if (bus_.waitsToWrite()) events |= EPOLLOUT;
  sd_event_source_set_io_events(socketSource_.get(), events);
  // A hang-up would be reported over and over; whatever else there is to do comes by the bell.
  sd_event_source_set_enabled(socketSource_.get(), clientHungUp_ ? SD_EVENT_OFF : SD_EVENT_ON);
}

void BusChannel::close() {
  if (phase_ != Phase::running) owner_.decided(*this);
  // From here on service() has no effect, whoever rings.
  phase_ = Phase::closed;
  // The sources leave the loop before the descriptors that they watch are closed, and the requests, which keep the bus,
  // are let go of before it.
  socketSource_.reset();
  handshakeTimer_.reset();
  sender_.forgetAll();
  bus_.close();
  client_.reset();
  inbox_.close();
  // The connection is closed now, so its user may have another one.
  admission_.share.reset();
  // A session may be kept long after its end: it must not keep this channel's memory, too.
  session_->detach();
  // Last: the owner lets go of this channel, and may be done with everything.
  owner_.closed(*this);
}

}  // namespace wicket::linux_adapter
