// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/macos/MainRunLoop.h"

#import <Foundation/Foundation.h>
#include <utility>

#include "adapters/macos/DispatchTimer.h"

namespace wicket::macos_adapter {

MainRunLoop::~MainRunLoop() {
  for (const auto& timer : timers_) {
    if (const auto armed = timer.lock()) armed->cancel();
  }
}

std::shared_ptr<Timer> MainRunLoop::schedule(std::chrono::nanoseconds delay, std::function<void()> handler) {
  auto timer = std::make_shared<DispatchTimer>(std::move(handler));
  {
    const std::scoped_lock lock(mutex_);
    std::erase_if(timers_, [](const auto& known) { return known.expired(); });
    timers_.push_back(timer);
  }
  timer->arm(delay);
  return timer;
}

void MainRunLoop::run(std::chrono::nanoseconds duration) {
  @autoreleasepool {
    const NSTimeInterval seconds = std::chrono::duration<double>(duration).count();
    [[NSRunLoop currentRunLoop] runUntilDate:[NSDate dateWithTimeIntervalSinceNow:seconds]];
  }
}

}  // namespace wicket::macos_adapter
