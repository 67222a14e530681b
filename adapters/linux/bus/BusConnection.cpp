// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/bus/BusConnection.h"

#include <exception>
#include <thread>
#include <utility>

#include "adapters/linux/bus/BusAppProxy.h"
#include "base/system/linux/Shortage.h"
#include "wire/BusNames.h"

namespace wicket::linux_adapter {
namespace {

/// What one client may have waiting for its turn before its next message is left in the socket.
constexpr std::size_t unfinishedCallLimit = 64;
constexpr std::size_t unfinishedByteLimit = wire::messageSizeLimit;

}  // namespace

BusConnection::BusConnection(std::shared_ptr<BusDoorbell> doorbell, const PeerProcess& peer, UserShares& shares)
    : doorbell_(std::move(doorbell)), peer_(peer), shares_(shares) {}

void BusConnection::setRemoteObjectInterface(const Interface& interface) {
  const std::scoped_lock lock(mutex_);
  remoteInterface_ = interface;
}

void BusConnection::setExportedInterface(const Interface& interface) {
  const std::scoped_lock lock(mutex_);
  exportedInterface_ = interface;
}

void BusConnection::setExportedObject(std::shared_ptr<HelperProtocol> object) {
  const std::scoped_lock lock(mutex_);
  exportedObject_.swap(object);
}

void BusConnection::setInvalidationHandler(std::function<void()> handler) {
  const std::scoped_lock lock(mutex_);
  invalidationHandler_.swap(handler);
}

void BusConnection::resume() {
  {
    const std::scoped_lock lock(mutex_);
    isResumed_ = true;
  }
  ringChannel();
}

void BusConnection::invalidate() { end(End::invalidated); }

std::shared_ptr<AppProtocol> BusConnection::remoteObjectProxy() {
  const std::scoped_lock lock(mutex_);
  if (!remoteInterface_ || remoteInterface_->name != app_protocol::interface.name) return nullptr;
  return std::make_shared<BusAppProxy>(weak_from_this());
}

void BusConnection::waitForCapacity() { outgoing_.waitForCapacity(); }

void BusConnection::send(Outgoing item) noexcept {
  auto result = OutgoingQueue::PushResult::overflow;
  try {
    result = outgoing_.push(std::move(item));
  } catch (const std::exception&) {
    // Out of memory: nothing may be lost from the middle, so this client is given up.
  }
  if (result == OutgoingQueue::PushResult::accepted) ringChannel();
  if (result == OutgoingQueue::PushResult::overflow) invalidate();
}

void BusConnection::accept() {
  {
    const std::scoped_lock lock(mutex_);
    isAccepted_ = true;
  }
  ringChannel();
}

void BusConnection::refuse() { end(End::refused); }

void BusConnection::attach(std::weak_ptr<BusWorker> channel) {
  const std::scoped_lock lock(mutex_);
  channel_ = std::move(channel);
}

bool BusConnection::isRunning() const {
  const std::scoped_lock lock(mutex_);
  return isAccepted_ && isResumed_ && end_ == End::none;
}

bool BusConnection::hasEnded() const {
  const std::scoped_lock lock(mutex_);
  return end_ != End::none;
}

void BusConnection::clientEnded() { end(End::clientGone); }

void BusConnection::end(End reason) {
  std::function<void()> refusedHandler;
  bool hasHandler = false;
  {
    const std::scoped_lock lock(mutex_);
    if (end_ != End::none) return;
    end_ = reason;
    if (reason == End::refused) refusedHandler.swap(invalidationHandler_);
    hasHandler = invalidationHandler_ != nullptr;
  }
  outgoing_.close();
  if (!finishExecutor(hasHandler)) {
    const std::scoped_lock lock(mutex_);
    handlerIsOrphaned_ = true;
  }
  ringChannel();
}

bool BusConnection::finishExecutor(bool hasHandler) noexcept {
  try {
    if (hasHandler) return executor_.finish([self = shared_from_this()] { self->runHandler(); });
    (void)executor_.finish({});
    return true;
  } catch (const std::exception&) {
    return false;  // no memory for the job
  }
}

void BusConnection::runOrphanedHandler() {
  {
    const std::scoped_lock lock(mutex_);
    if (!std::exchange(handlerIsOrphaned_, false)) return;
  }
  runHandler();
}

void BusConnection::runHandler() {
  std::function<void()> handler;
  {
    const std::scoped_lock lock(mutex_);
    handler.swap(invalidationHandler_);
  }
  if (handler) handler();
}

std::optional<Interface> BusConnection::exportedInterface() const {
  const std::scoped_lock lock(mutex_);
  return exportedInterface_;
}

void BusConnection::deliver(HelperCall call, const std::shared_ptr<ReplyBlock>& block) {
  const std::size_t size = call.size();
  {
    const std::scoped_lock lock(mutex_);
    ++unfinishedCalls_;
    unfinishedBytes_ += size;
  }
  const bool willRun = executor_.post([self = shared_from_this(), action = std::move(call), block, size] {
    self->perform(action, block);
    self->callReturned(size);
  });
  if (!willRun) invalidate();
}

void BusConnection::perform(const HelperCall& call, const std::shared_ptr<ReplyBlock>& block) {
  std::shared_ptr<HelperProtocol> object;
  {
    const std::scoped_lock lock(mutex_);
    if (end_ == End::invalidated) return;
    object = exportedObject_;
  }
  if (object == nullptr) return;
  if (!isStillTheClient()) return invalidate();
  try {
    performWithinLimits(*object, call, block);
  } catch (const std::exception&) {
    // The call ends here; its block, let go of uncalled, tells the client.
  }
}

/// A shortage says nothing about the process: the call waits until it can be seen.
bool BusConnection::isStillTheClient() const {
  for (;;) {
    const ShortageWatch watch;
    if (peer_.isUnchanged()) return true;
    if (!ShortageWatch::hasSeenOne() || hasEnded()) return false;
    std::this_thread::sleep_for(shortageRestTime);
  }
}

void BusConnection::performWithinLimits(HelperProtocol& object, const HelperCall& call,
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

void BusConnection::callReturned(std::size_t size) {
  {
    const std::scoped_lock lock(mutex_);
    const bool wasBusy = hasManyUnfinishedCalls();
    --unfinishedCalls_;
    unfinishedBytes_ -= size;
    if (!wasBusy || hasManyUnfinishedCalls()) return;
  }
  ringChannel();
}

bool BusConnection::hasManyUnfinishedCalls() const {
  return unfinishedCalls_ >= unfinishedCallLimit || unfinishedBytes_ >= unfinishedByteLimit;
}

bool BusConnection::isBusy() const {
  if (outgoing_.isAboveHighWater()) return true;
  const std::scoped_lock lock(mutex_);
  return hasManyUnfinishedCalls();
}

void BusConnection::ringChannel() noexcept {
  std::weak_ptr<BusWorker> channel;
  {
    const std::scoped_lock lock(mutex_);
    channel = channel_;
  }
  doorbell_->ring(channel);
}

}  // namespace wicket::linux_adapter
