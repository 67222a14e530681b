// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/MainRunLoop.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace wicket::linux_adapter {
namespace {

using Clock = std::chrono::steady_clock;

}  // namespace

/// The armed timers in the order of their deadlines, those of one deadline in the order of arming.
struct MainRunLoop::State {
  std::mutex mutex;
  std::condition_variable changed;
  std::multimap<Clock::time_point, std::shared_ptr<LoopTimer>> armed;
};

class MainRunLoop::LoopTimer final : public Timer {
 public:
  LoopTimer(std::weak_ptr<State> state, std::function<void()> handler)
      : state_(std::move(state)), handler_(std::move(handler)) {}

  void cancel() override {
    std::function<void()> released;  // outside the lock: it may own anything
    const auto state = state_.lock();
    if (!state) return;
    const std::scoped_lock lock(state->mutex);
    std::erase_if(state->armed, [this](const auto& entry) { return entry.second.get() == this; });
    released.swap(handler_);
  }
  /// With the lock held; the timer counts as fired from here on.
  [[nodiscard]] std::function<void()> takeHandler() { return std::exchange(handler_, nullptr); }

 private:
  const std::weak_ptr<State> state_;
  std::function<void()> handler_;
};

MainRunLoop::MainRunLoop() : state_(std::make_shared<State>()) {}

MainRunLoop::~MainRunLoop() {
  std::vector<std::function<void()>> released;  // outside the lock: they may own anything
  const std::scoped_lock lock(state_->mutex);
  for (const auto& [deadline, timer] : state_->armed) released.push_back(timer->takeHandler());
}

std::shared_ptr<Timer> MainRunLoop::schedule(std::chrono::nanoseconds delay, std::function<void()> handler) {
  const auto timer = std::make_shared<LoopTimer>(state_, std::move(handler));
  const std::scoped_lock lock(state_->mutex);
  state_->armed.emplace(Clock::now() + delay, timer);
  state_->changed.notify_one();
  return timer;
}

void MainRunLoop::run(std::chrono::nanoseconds duration) {
  const Clock::time_point end = Clock::now() + duration;
  while (true) {
    // Asked before the timers are: what falls into the pass is fired in it, even if this thread wakes late.
    const bool isOver = Clock::now() >= end;
    while (fireNext(end)) {
    }
    if (isOver) return;
    std::unique_lock lock(state_->mutex);
    const auto& armed = state_->armed;
    const Clock::time_point next = armed.empty() ? end : std::min(end, armed.begin()->first);
    state_->changed.wait_until(lock, next);
  }
}

bool MainRunLoop::fireNext(Clock::time_point latest) {
  std::shared_ptr<LoopTimer> timer;
  std::function<void()> handler;
  {
    const std::scoped_lock lock(state_->mutex);
    const auto first = state_->armed.begin();
    if (first == state_->armed.end() || first->first > std::min(latest, Clock::now())) return false;
    timer = std::move(first->second);
    state_->armed.erase(first);
    handler = timer->takeHandler();
  }
  if (handler) handler();
  return true;
}

}  // namespace wicket::linux_adapter
