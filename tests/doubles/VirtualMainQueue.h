// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "helper/platform/MainQueue.h"

namespace wicket::doubles {

/// A main queue whose clock only moves when run() or advance() says so, so that 45 seconds take no
/// time. Timers fire in the order of their deadlines, those of one deadline in the order they were
/// armed, on the thread that moves the clock. Timers may be armed and cancelled from any thread.
class VirtualMainQueue : public MainQueue {
 public:
  VirtualMainQueue() = default;
  /// Timers that are still armed will never fire: their handlers let go of what they hold.
  ~VirtualMainQueue() override {
    for (const auto& timer : std::exchange(state_->timers, {})) timer->handler = nullptr;
  }

  std::shared_ptr<Timer> schedule(std::chrono::nanoseconds delay, std::function<void()> handler) override {
    const std::scoped_lock lock(state_->mutex);
    auto timer = std::make_shared<VirtualTimer>(state_, state_->now + delay, std::move(handler));
    const auto later = std::ranges::upper_bound(state_->timers, timer->deadline, {}, &VirtualTimer::deadline);
    state_->timers.insert(later, timer);
    return timer;
  }
  void run(std::chrono::nanoseconds duration) override {
    {
      const std::scoped_lock lock(state_->mutex);
      state_->passes.push_back(duration);
    }
    advance(duration);
  }

  /// Moves the clock without counting as a pass. May be called by a handler, as if it took that long.
  void advance(std::chrono::nanoseconds duration) {
    const auto end = now() + duration;
    while (fireNext(end)) continue;
    const std::scoped_lock lock(state_->mutex);
    state_->now = std::max(state_->now, end);
  }
  /// How far the clock has moved.
  [[nodiscard]] std::chrono::nanoseconds now() const {
    const std::scoped_lock lock(state_->mutex);
    return state_->now;
  }
  /// Timers that have neither fired nor been cancelled.
  [[nodiscard]] std::size_t armedTimers() const {
    const std::scoped_lock lock(state_->mutex);
    return state_->timers.size();
  }
  /// The durations that run() was called with.
  [[nodiscard]] std::vector<std::chrono::nanoseconds> passes() const {
    const std::scoped_lock lock(state_->mutex);
    return state_->passes;
  }

 private:
  struct State;
  class VirtualTimer : public Timer {
   public:
    VirtualTimer(std::weak_ptr<State> state, std::chrono::nanoseconds due, std::function<void()> action)
        : deadline(due), handler(std::move(action)), state_(std::move(state)) {}
    void cancel() override {
      std::function<void()> released;  // outside the lock: it may own anything
      const auto state = state_.lock();
      if (!state) return;
      const std::scoped_lock lock(state->mutex);
      std::erase_if(state->timers, [this](const auto& timer) { return timer.get() == this; });
      released.swap(handler);
    }

    const std::chrono::nanoseconds deadline;
    std::function<void()> handler;

   private:
    const std::weak_ptr<State> state_;
  };
  struct State {
    std::mutex mutex;
    std::chrono::nanoseconds now{0};
    std::vector<std::shared_ptr<VirtualTimer>> timers;
    std::vector<std::chrono::nanoseconds> passes;
  };

  bool fireNext(std::chrono::nanoseconds end) {
    std::function<void()> handler;
    {
      const std::scoped_lock lock(state_->mutex);
      if (state_->timers.empty() || state_->timers.front()->deadline > end) return false;
      const auto timer = state_->timers.front();
      state_->timers.erase(state_->timers.begin());
      state_->now = std::max(state_->now, timer->deadline);
      handler = std::move(timer->handler);
    }
    if (handler) handler();
    return true;
  }

  const std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace wicket::doubles
