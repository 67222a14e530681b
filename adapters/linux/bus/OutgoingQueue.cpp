// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/bus/OutgoingQueue.h"

#include <string>
#include <utility>
#include <variant>

namespace wicket::linux_adapter {
namespace {

/// Header of a message and bookkeeping, so that endless tiny lines count for what they take.
constexpr std::size_t overhead = 256;

}  // namespace

OutgoingQueue::PushResult OutgoingQueue::push(Outgoing item) {
  const std::scoped_lock lock(mutex_);
  if (isClosed_) return PushResult::dropped;
  const std::size_t size = sizeOf(item);
  if (queued_ + taken_ + size > limit) return PushResult::overflow;
  items_.push_back(std::move(item));
  queued_ += size;
  return PushResult::accepted;
}

std::optional<Outgoing> OutgoingQueue::pop() {
  const std::scoped_lock lock(mutex_);
  if (items_.empty()) return std::nullopt;
  std::optional<Outgoing> item(std::move(items_.front()));
  items_.pop_front();
  const std::size_t size = sizeOf(*item);
  queued_ -= size;
  taken_ += size;
  return item;
}

void OutgoingQueue::written() {
  const std::scoped_lock lock(mutex_);
  taken_ = 0;
  if (queued_ <= highWater) drained_.notify_all();
}

bool OutgoingQueue::isAboveHighWater() const {
  const std::scoped_lock lock(mutex_);
  return queued_ + taken_ > highWater;
}

void OutgoingQueue::waitForCapacity() {
  std::unique_lock lock(mutex_);
  drained_.wait(lock, [this] { return isClosed_ || queued_ + taken_ <= highWater; });
}

void OutgoingQueue::close() {
  // Freed after the lock, since there may be much of it.
  std::deque<Outgoing> dropped;
  const std::scoped_lock lock(mutex_);
  isClosed_ = true;
  dropped.swap(items_);
  queued_ = 0;
  taken_ = 0;
  drained_.notify_all();
}

std::size_t OutgoingQueue::sizeOf(const Outgoing& item) {
  if (const auto* line = std::get_if<LogLine>(&item)) return overhead + line->text.size();
  if (const auto* reply = std::get_if<MethodReply>(&item)) {
    if (const auto* text = std::get_if<std::string>(&reply->value)) return overhead + text->size();
  }
  return overhead;
}

}  // namespace wicket::linux_adapter
