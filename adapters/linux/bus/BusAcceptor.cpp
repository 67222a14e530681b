// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/bus/BusAcceptor.h"

#include <cerrno>
#include <chrono>
#include <exception>
#include <new>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <thread>
#include <utility>

#include "adapters/linux/bus/SdTimer.h"
#include "adapters/linux/peer/PeerProcess.h"
#include "base/system/linux/Shortage.h"

namespace wicket::linux_adapter {
namespace {

/// Clients that have connected and not yet been accepted or refused. More wait in the socket's backlog: it takes many
/// users to fill this.
constexpr std::size_t undecidedLimit = 1024;
/// Connections of a user that only wait to be told that there are too many of them.
constexpr wire::UserLimit connectionsInExcess = wire::openConnections;
constexpr int clientsPerTurn = 64;
/// What is left to answer everybody when the listener ends.
constexpr std::chrono::microseconds graceTime = Listener::timeToFinish;

enum class Decision { accepted, refused, impossible };

Decision decisionAbout(ListenerDelegate& delegate, const std::shared_ptr<BusConnection>& connection) {
  const ShortageWatch watch;
  try {
    if (delegate.shouldAcceptNewConnection(connection)) return Decision::accepted;
  } catch (const std::bad_alloc&) {
    return Decision::impossible;
  } catch (const std::exception&) {
    return Decision::refused;  // a client about whom nothing could be decided is not let in
  }
  return ShortageWatch::hasSeenOne() ? Decision::impossible : Decision::refused;
}

/// What could not be seen for want of descriptors or memory is no reason to refuse anybody: the client waits, and those
/// behind it with it, until it can be seen.
void decide(ListenerDelegate& delegate, const std::shared_ptr<BusConnection>& connection) {
  Decision decision = Decision::impossible;
  while (!connection->hasEnded()) {
    decision = decisionAbout(delegate, connection);
    if (decision != Decision::impossible) break;
    std::this_thread::sleep_for(shortageRestTime);
  }
  if (decision == Decision::accepted) {
    connection->accept();
  } else {
    connection->refuse();
  }
}

}  // namespace

BusAcceptor::BusAcceptor(Descriptor listening, std::shared_ptr<BusDoorbell> doorbell, UserShares& shares,
                         SerialExecutor& delegateQueue, ListenerDelegate& delegate)
    : listening_(std::move(listening)),
      doorbell_(std::move(doorbell)),
      shares_(shares),
      delegateQueue_(delegateQueue),
      delegate_(delegate) {}

void BusAcceptor::start(sd_event* event) {
  event_ = event;
  sd_event_source* source = nullptr;
  if (sd_event_add_io(event, &source, listening_.get(), EPOLLIN, &onClients, this) < 0) std::terminate();
  clientsSource_.reset(source);
}

void BusAcceptor::finish(std::function<void()> done) {
  // First, so that whoever connects from now on waits in the socket for the next process.
  clientsSource_.reset();
  restTimer_.reset();
  done_ = std::move(done);
  for (const auto& [channel, client] : clients_) {
    if (channel->isWaiting(Listener::timeToAsk)) awaited_.insert(channel);
  }
  const bool canWait = armTimer(event_, graceTimer_, graceTime, &onGraceEnded, this) >= 0;
  if (awaited_.empty() || !canWait) endGrace();
}

int BusAcceptor::onGraceEnded(sd_event_source* /*source*/, std::uint64_t /*time*/, void* acceptor) {
  static_cast<BusAcceptor*>(acceptor)->endGrace();
  return 0;
}

void BusAcceptor::noLongerAwaited(const BusChannel& channel) {
  if (awaited_.erase(&channel) > 0 && awaited_.empty()) endGrace();
}

void BusAcceptor::endGrace() {
  awaited_.clear();
  if (const auto done = std::exchange(done_, nullptr)) done();
}

void BusAcceptor::stop() {
  clientsSource_.reset();
  restTimer_.reset();
  graceTimer_.reset();
  // A channel that closes takes itself off the list.
  while (!clients_.empty()) {
    const Client client = clients_.begin()->second;
    client.connection->invalidate();
    client.channel->service();
  }
}

int BusAcceptor::onClients(sd_event_source* /*source*/, int /*descriptor*/, std::uint32_t /*events*/, void* acceptor) {
  static_cast<BusAcceptor*>(acceptor)->acceptClientsOrRest();
  return 0;
}

int BusAcceptor::onRested(sd_event_source* /*source*/, std::uint64_t /*time*/, void* acceptor) {
  auto& self = *static_cast<BusAcceptor*>(acceptor);
  self.isResting_ = false;
  self.listenForClients();
  // Nothing else reminds of a client that was accepted before the rest.
  if (self.newcomer_.isOpen()) self.acceptClientsOrRest();
  return 0;
}

void BusAcceptor::acceptClientsOrRest() {
  try {
    acceptClients();
  } catch (const std::exception&) {
    rest();  // no memory for a newcomer
  }
}

void BusAcceptor::acceptClients() {
  for (int i = 0; i < clientsPerTurn && undecided_.size() < undecidedLimit; ++i) {
    if (!prepareFeed()) return rest();
    if (!newcomer_.isOpen()) {
      newcomer_ = Descriptor(accept4(listening_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    }
    if (newcomer_.isOpen()) {
      if (!take()) return rest();
    } else if (errno == EAGAIN) {
      return;
    } else if (errno != EINTR && errno != ECONNABORTED) {
      return rest();
    }
  }
  listenForClients();
}

bool BusAcceptor::prepareFeed() {
  if (!nextFeed_) nextFeed_ = BusFeed::make();
  return nextFeed_.has_value();
}

bool BusAcceptor::take() {
  // The share comes before all that costs descriptors or memory.
  const uid_t user = PeerProcess::userOf(newcomer_.get());
  auto share = shares_.take(wire::openConnections, user);
  const bool isInExcess = share == nullptr;
  if (isInExcess) share = shares_.take(connectionsInExcess, user);
  if (share == nullptr) {
    newcomer_.reset();
    return true;
  }
  const auto peer = PeerProcess::ofSocket(newcomer_.get());
  if (!peer) return false;
  auto connection = std::make_shared<BusConnection>(doorbell_, *peer, shares_);
  const auto channel = std::make_shared<BusChannel>(
      connection, *this, BusChannel::Admission{std::move(share), isInExcess ? &wire::openConnections : nullptr});
  // Before the channel can be rung for. Besides the channels there are the thread itself, the listener that ends and
  // connections without a channel.
  doorbell_->makeRoomFor(clients_.size() + 4);
  if (channel->open(event_, std::move(newcomer_), *std::exchange(nextFeed_, std::nullopt)) < 0) return false;
  undecided_.insert(channel.get());
  clients_.emplace(channel.get(), Client{channel, connection});
  // Last, so that nobody rings for a channel that is not kept.
  connection->attach(channel);
  return true;
}

void BusAcceptor::rest() {
  isResting_ = true;
  listenForClients();
  if (armTimer(event_, restTimer_, shortageRestTime, &onRested, this) < 0) {
    isResting_ = false;
    listenForClients();
  }
}

void BusAcceptor::listenForClients() {
  const bool isReady = !isResting_ && undecided_.size() < undecidedLimit;
  sd_event_source_set_enabled(clientsSource_.get(), isReady ? SD_EVENT_ON : SD_EVENT_OFF);
}

void BusAcceptor::handshakeEnded(BusChannel& channel) {
  const auto& connection = clients_.at(&channel).connection;
  const bool willRun = delegateQueue_.post([&delegate = delegate_, connection] { decide(delegate, connection); });
  if (!willRun) connection->refuse();
}

void BusAcceptor::decided(BusChannel& channel) {
  undecided_.erase(&channel);
  if (clientsSource_) listenForClients();
}

void BusAcceptor::answered(BusChannel& channel) { noLongerAwaited(channel); }

void BusAcceptor::closed(BusChannel& channel) {
  noLongerAwaited(channel);
  clients_.erase(&channel);
}

}  // namespace wicket::linux_adapter
