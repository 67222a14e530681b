// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/BusListener.h"

#include <future>
#include <utility>

namespace wicket::linux_adapter {

BusListener::BusListener(posix::Descriptor listening)
    : listening_(std::move(listening)), doorbell_(std::make_shared<BusDoorbell>()) {}

BusListener::~BusListener() {
  thread_.reset();
  // The delegate may go away after this: wait for what it is being asked.
  std::promise<void> isIdle;
  if (delegateQueue_.finish([&isIdle] { isIdle.set_value(); })) isIdle.get_future().wait();
}

void BusListener::setDelegate(ListenerDelegate& delegate) { delegate_ = &delegate; }

void BusListener::resume() {
  if (thread_ || delegate_ == nullptr) return;
  acceptor_.emplace(std::move(listening_), doorbell_, delegateQueue_, *delegate_);
  thread_.emplace(doorbell_, [this](sd_event* event) { acceptor_->start(event); }, [this] { acceptor_->stop(); });
}

}  // namespace wicket::linux_adapter
