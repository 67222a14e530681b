// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/bus/ClientSession.h"

#include <exception>
#include <thread>
#include <utility>

#include "base/system/linux/Shortage.h"
#include "wire/BusNames.h"

namespace wicket::linux_adapter {
namespace {

/// What one client may have waiting for its turn before its next message is left in the socket.
constexpr std::size_t unfinishedCallLimit = 64;
constexpr std::size_t unfinishedByteLimit = wire::messageSizeLimit;

}  // namespace

ClientSession::ClientSession(std::shared_ptr<BusDoorbell> doorbell, const PeerProcess& peer, UserShares& shares)
    : doorbell_(std::move(doorbell)), peer_(peer), shares_(shares) {}

void ClientSession::exportInterface(const Interface& interface) {
  const std::scoped_lock lock(mutex_);
  exportedInterface_ = interface;
}

void ClientSession::exportObject(std::shared_ptr<HelperProtocol> object) {
  const std::scoped_lock lock(mutex_);
  exportedObject_.swap(object);
}

void ClientSession::handleEndBy(std::function<void()> handler) {
  const std::scoped_lock lock(mutex_);
  invalidationHandler_.swap(handler);
}

void ClientSession::start() {
  {
    const std::scoped_lock lock(mutex_);
    isResumed_ = true;
  }
  ringChannel();
}

void ClientSession::send(Outgoing item) noexcept {
  auto result = OutgoingQueue::PushResult::overflow;
  try {
    result = outgoing_.push(std::move(item));
  } catch (const std::exception&) {
    // Out of memory: nothing may be lost from the middle, so this client is given up.
  }
  if (result == OutgoingQueue::PushResult::accepted) ringChannel();
  if (result == OutgoingQueue::PushResult::overflow) cut();
}

void ClientSession::accept() {
  {
    const std::scoped_lock lock(mutex_);
    isAccepted_ = true;
  }
  ringChannel();
}

void ClientSession::refuse() { end(End::refused); }

void ClientSession::clientEnded() { end(End::clientGone); }

void ClientSession::cut() { end(End::cut); }

void ClientSession::attach(std::weak_ptr<BusWorker> channel) {
  const std::scoped_lock lock(mutex_);
  channel_ = std::move(channel);
}

void ClientSession::detach() {
  {
    const std::scoped_lock lock(mutex_);
    channel_.reset();
    if (!std::exchange(handlerIsOrphaned_, false)) return;
  }
  runHandler();
}

bool ClientSession::isRunning() const {
  const std::scoped_lock lock(mutex_);
  return isAccepted_ && isResumed_ && end_ == End::none;
}

bool ClientSession::hasEnded() const {
  const std::scoped_lock lock(mutex_);
  return end_ != End::none;
}

void ClientSession::end(End reason) {
  std::function<void()> refusedHandler;
  bool hasHandler = false;
  {
    const std::scoped_lock lock(mutex_);
    if (end_ != End::none) return;
    // The first reason counts, and from here on no call starts that the reason forbids.
    end_ = reason;
    // A client that was refused was never let in, so nobody is told of its end. What the handler holds is let go of
    // without the lock.
    if (reason == End::refused) refusedHandler.swap(invalidationHandler_);
    hasHandler = invalidationHandler_ != nullptr;
  }
  // Whoever waits for room is let go before the handler has its turn.
  outgoing_.close();
  // The handler comes after all calls that were delivered; perform() passes over those of a client that was cut.
  if (!finishExecutor(hasHandler)) {
    const std::scoped_lock lock(mutex_);
    handlerIsOrphaned_ = true;
  }
  // Only now, since the channel closes at once and then sees to a handler without a thread.
  ringChannel();
}

bool ClientSession::finishExecutor(bool hasHandler) noexcept {
  try {
    if (hasHandler) return executor_.finish([self = shared_from_this()] { self->runHandler(); });
    (void)executor_.finish({});
    return true;
  } catch (const std::exception&) {
    return false;  // no memory for the job
  }
}

void ClientSession::runHandler() {
  std::function<void()> handler;
  {
    const std::scoped_lock lock(mutex_);
    handler.swap(invalidationHandler_);
  }
  if (handler) handler();
}

std::optional<Interface> ClientSession::exportedInterface() const {
  const std::scoped_lock lock(mutex_);
  return exportedInterface_;
}

void ClientSession::deliver(HelperCall call, const std::shared_ptr<ReplyBlock>& block) {
  const std::size_t size = call.size();
  // Counted before it is posted: it may return before post() does.
  {
    const std::scoped_lock lock(mutex_);
    ++unfinishedCalls_;
    unfinishedBytes_ += size;
  }
  const bool willRun = executor_.post([self = shared_from_this(), action = std::move(call), block, size] {
    self->perform(action, block);
    self->callReturned(size);
  });
  // The client would wait for its answer for ever.
  if (!willRun) cut();
}

void ClientSession::perform(const HelperCall& call, const std::shared_ptr<ReplyBlock>& block) {
  std::shared_ptr<HelperProtocol> object;
  {
    const std::scoped_lock lock(mutex_);
    if (end_ == End::cut) return;
    object = exportedObject_;
  }
  if (object == nullptr) return;
  // As late as possible, since the call may have waited for its turn; and before its user's share is taken, which is
  // none of another process's.
  if (!isStillTheClient()) return cut();
  try {
    performWithinLimits(*object, call, block);
  } catch (const std::exception&) {
    // The call ends here; its block, let go of uncalled, tells the client.
  }
}

/// A shortage says nothing about the process: the call waits until it can be seen.
bool ClientSession::isStillTheClient() const {
  for (;;) {
    const ShortageWatch watch;
    if (peer_.isUnchanged()) return true;
    if (!ShortageWatch::hasSeenOne() || hasEnded()) return false;
    std::this_thread::sleep_for(shortageRestTime);
  }
}

void ClientSession::performWithinLimits(HelperProtocol& object, const HelperCall& call,
                                        const std::shared_ptr<ReplyBlock>& block) {
  CallingClient client = peer_.client();
  if (const auto* const limit = call.limit()) {
    client.share = shares_.take(*limit, client.uid);
    if (client.share == nullptr) {
      if (block) block->refuse(*limit);
      return;
    }
  }
  const CallingClient::Scope onBehalfOf(std::move(client));
  call.perform(object, block);
}

void ClientSession::callReturned(std::size_t size) {
  {
    const std::scoped_lock lock(mutex_);
    const bool wasBusy = hasManyUnfinishedCalls();
    --unfinishedCalls_;
    unfinishedBytes_ -= size;
    if (!wasBusy || hasManyUnfinishedCalls()) return;
  }
  // What the client has sent meanwhile lies in its socket, to which the channel does not listen while it is busy.
  ringChannel();
}

bool ClientSession::hasManyUnfinishedCalls() const {
  return unfinishedCalls_ >= unfinishedCallLimit || unfinishedBytes_ >= unfinishedByteLimit;
}

bool ClientSession::isBusy() const {
  if (outgoing_.isAboveHighWater()) return true;
  const std::scoped_lock lock(mutex_);
  return hasManyUnfinishedCalls();
}

void ClientSession::ringChannel() noexcept {
  std::weak_ptr<BusWorker> channel;
  {
    const std::scoped_lock lock(mutex_);
    channel = channel_;
  }
  doorbell_->ring(channel);
}

}  // namespace wicket::linux_adapter
