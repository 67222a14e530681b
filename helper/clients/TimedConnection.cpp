// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors

#include "helper/clients/TimedConnection.h"

#include <utility>

namespace wicket {
TimedConnection::TimedConnection(MainQueue& mainQueue, std::shared_ptr<Connection> connection, double interval,
                                 FiredCount firedCount)
    : mainQueue_(mainQueue),
      connection_(std::move(connection)),
      interval_(interval),
      firedCount_(std::move(firedCount)) {}

std::shared_ptr<Timer> TimedConnection::timer() const {
  const std::lock_guard lock(mutex_);
  return timer_;
}

void TimedConnection::install() {
  const std::lock_guard lock(mutex_);
  installLocked();
}

void TimedConnection::installLocked() {
  if (timer_ != nullptr) return;
  timer_ = mainQueue_.schedule(helper_protocol::connectionLifetime,
                               [entry = shared_from_this(), arming = ++arming_] { entry->fire(arming); });
}

bool TimedConnection::resetInvalidation() {
  const std::lock_guard lock(mutex_);
  if (timer_ == nullptr) return false;
  timer_->cancel();
  timer_ = nullptr;
  installLocked();
  return true;
}

void TimedConnection::fire(std::uint64_t arming) {
  {
    const std::lock_guard lock(mutex_);
    // Another thread may have started a fresh countdown while this handler was already under way.
    if (arming != arming_) return;
    timer_ = nullptr;
    ++*firedCount_;
  }
  connection_->invalidate();
}

}  // namespace wicket
