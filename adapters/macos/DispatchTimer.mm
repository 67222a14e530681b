// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/macos/DispatchTimer.h"

#include <utility>

namespace wicket::macos_adapter {

DispatchTimer::DispatchTimer(std::function<void()> handler) : handler_(std::move(handler)) {}

void DispatchTimer::arm(std::chrono::nanoseconds delay) {
  dispatch_source_t source = dispatch_source_create(DISPATCH_SOURCE_TYPE_TIMER, 0, 0, dispatch_get_main_queue());
  constexpr std::uint64_t noLeeway = 0;
  dispatch_source_set_timer(source, dispatch_time(DISPATCH_TIME_NOW, delay.count()), DISPATCH_TIME_FOREVER, noLeeway);
  const auto self = shared_from_this();
  dispatch_source_set_event_handler(source, ^{
    self->fire();
  });
  {
    const std::scoped_lock lock(mutex_);
    source_ = source;
  }
  dispatch_resume(source);
}

// Whoever takes the handler away first, under the lock, has decided whether it runs: the source alone may have
// begun to fire when it is cancelled.
void DispatchTimer::cancel() {
  std::function<void()> released;  // outside the lock: it may own anything
  dispatch_source_t source = nil;
  {
    const std::scoped_lock lock(mutex_);
    released.swap(handler_);
    source = std::exchange(source_, nil);
  }
  if (source != nil) dispatch_source_cancel(source);
}

// The source is let go of, not cancelled: it has nothing more to fire. What a handler throws ends the process, for a
// client that is not cut in time must not stay.
void DispatchTimer::fire() noexcept {
  std::function<void()> handler;
  {
    const std::scoped_lock lock(mutex_);
    handler.swap(handler_);
    source_ = nil;
  }
  if (handler) handler();
}

}  // namespace wicket::macos_adapter
