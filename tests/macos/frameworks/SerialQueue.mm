// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/macos/frameworks/SerialQueue.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

#include "tests/support/Patience.h"

namespace wicket::frameworks {
namespace {

/// Counts something, and lets threads wait until there is nothing left of it.
class Count {
 public:
  void change(long difference) {
    const std::scoped_lock lock(mutex_);
    count_ += difference;
    if (count_ == 0) nothing_.notify_all();
  }
  void waitForNothing() {
    std::unique_lock lock(mutex_);
    nothing_.wait(lock, [this] { return count_ == 0; });
  }
  bool becomesNothing() {
    std::unique_lock lock(mutex_);
    return nothing_.wait_for(lock, support::patience, [this] { return count_ == 0; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable nothing_;
  long count_ = 0;
};

Count& jobs() {
  static auto& result = *new Count;
  return result;
}

Count& threads() {
  static auto& result = *new Count;
  return result;
}

}  // namespace

struct SerialQueue::State {
  std::mutex mutex;
  std::condition_variable changed;
  std::deque<std::function<void()>> jobs;
  bool hasEnded = false;
  bool waitsLong = false;  // its jobs are not counted meanwhile

  void countJobs(long difference) const {
    if (!waitsLong) wicket::frameworks::jobs().change(difference);
  }
};

thread_local SerialQueue::State* SerialQueue::own = nullptr;

SerialQueue::SerialQueue() : state_(std::make_shared<State>()) {
  threads().change(+1);
  std::thread([state = state_] {
    work(state);
    threads().change(-1);
  }).detach();
}

SerialQueue::~SerialQueue() {
  std::deque<std::function<void()>> dropped;  // outside the lock: they may own anything
  {
    const std::scoped_lock lock(state_->mutex);
    state_->hasEnded = true;
    dropped.swap(state_->jobs);
    state_->countJobs(-static_cast<long>(dropped.size()));
    state_->changed.notify_all();
  }
}

void SerialQueue::add(std::function<void()> job) {
  const std::scoped_lock lock(state_->mutex);
  state_->countJobs(+1);
  state_->jobs.push_back(std::move(job));
  state_->changed.notify_all();
}

void SerialQueue::runNow(const std::function<void()>& job) {
  std::mutex mutex;
  std::condition_variable changed;
  bool isDone = false;
  add([&] {
    job();
    const std::scoped_lock lock(mutex);
    isDone = true;
    changed.notify_all();
  });
  std::unique_lock lock(mutex);
  changed.wait(lock, [&] { return isDone; });
}

void SerialQueue::work(const std::shared_ptr<State>& state) {
  own = state.get();
  while (true) {
    std::function<void()> job;
    {
      std::unique_lock lock(state->mutex);
      state->changed.wait(lock, [&] { return state->hasEnded || !state->jobs.empty(); });
      if (state->hasEnded) return;
      job = std::move(state->jobs.front());
      state->jobs.pop_front();
    }
    @autoreleasepool {
      job();
      job = nullptr;
    }
    jobs().change(-1);
  }
}

void SerialQueue::waitUntilAllAreIdle() { jobs().waitForNothing(); }
bool SerialQueue::waitUntilAllHaveEnded() { return threads().becomesNothing(); }

SerialQueue::LongWait::LongWait() {
  const std::scoped_lock lock(own->mutex);
  own->countJobs(-1 - static_cast<long>(own->jobs.size()));
  own->waitsLong = true;
}

SerialQueue::LongWait::~LongWait() {
  const std::scoped_lock lock(own->mutex);
  own->waitsLong = false;
  own->countJobs(+1 + static_cast<long>(own->jobs.size()));
}

}  // namespace wicket::frameworks
