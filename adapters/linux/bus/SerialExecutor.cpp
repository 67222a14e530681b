// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/bus/SerialExecutor.h"

#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>

namespace wicket::linux_adapter {

struct SerialExecutor::State {
  std::mutex mutex;
  std::condition_variable changed;
  std::deque<Job> jobs;
  bool hasThread = false;
  bool isFinished = false;
};

SerialExecutor::SerialExecutor() : state_(std::make_shared<State>()) {}

SerialExecutor::~SerialExecutor() {
  const std::scoped_lock lock(state_->mutex);
  state_->isFinished = true;
  state_->changed.notify_one();
}

bool SerialExecutor::post(Job job) { return add(std::move(job), false); }

bool SerialExecutor::finish(Job lastJob) { return add(std::move(lastJob), true); }

bool SerialExecutor::add(Job job, bool isLast) {
  const std::scoped_lock lock(state_->mutex);
  if (state_->isFinished) return false;
  if (isLast) state_->isFinished = true;
  try {
    if (job) state_->jobs.push_back(std::move(job));
    if (!state_->hasThread && !state_->jobs.empty()) {
      std::thread(&SerialExecutor::work, state_).detach();
      state_->hasThread = true;
    }
  } catch (const std::exception&) {
    // Neither memory nor a thread: the owner decides what becomes of its client. Where there is a thread, the jobs from
    // before have their turn.
    if (!state_->hasThread) state_->jobs.clear();
    state_->changed.notify_one();
    return false;
  }
  state_->changed.notify_one();
  return true;
}

void SerialExecutor::work(const std::shared_ptr<State>& state) {
  std::unique_lock lock(state->mutex);
  while (true) {
    state->changed.wait(lock, [&] { return state->isFinished || !state->jobs.empty(); });
    if (state->jobs.empty()) return;
    Job job = std::move(state->jobs.front());
    state->jobs.pop_front();
    lock.unlock();
    job();
    // What the job holds is let go of without the lock: it may keep the executor's owner, whose end takes the lock.
    job = nullptr;
    lock.lock();
  }
}

}  // namespace wicket::linux_adapter
