// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/macos/ServedCalls.h"

#include <algorithm>
#include <utility>

#include "helper/platform/Listener.h"

namespace wicket::macos_adapter {
ServedCalls::Call::Call(std::shared_ptr<ServedCalls> calls) : calls_(std::move(calls)) {
  const std::scoped_lock lock(calls_->mutex_);
  ++calls_->unanswered_;
}

ServedCalls::Call::~Call() {
  if (!calls_) return;
  const std::scoped_lock lock(calls_->mutex_);
  --calls_->unanswered_;
  calls_->changed_.notify_all();
}

void ServedCalls::clientWasAccepted() {
  const std::scoped_lock lock(mutex_);
  quietFrom_ = Clock::now() + Listener::timeToAsk;
}

void ServedCalls::waitUntilQuiet() {
  const Clock::time_point latest = Clock::now() + Listener::timeToFinish;
  std::unique_lock lock(mutex_);
  while (Clock::now() < latest) {
    if (unanswered_ == 0 && Clock::now() >= quietFrom_) return;
    changed_.wait_until(lock, unanswered_ == 0 ? std::min(quietFrom_, latest) : latest);
  }
}

}  // namespace wicket::macos_adapter
