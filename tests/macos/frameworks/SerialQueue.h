// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <functional>
#include <memory>

namespace wicket::frameworks {

/// A private queue of the system's: runs one job after the other on a thread of its own, each in an autorelease pool.
class SerialQueue {
 public:
  SerialQueue();
  SerialQueue(const SerialQueue&) = delete;
  SerialQueue& operator=(const SerialQueue&) = delete;
  /// May happen in one of its own jobs. Those that have not begun are dropped.
  ~SerialQueue();

  /// Any thread.
  void add(std::function<void()> job);
  /// Not in one of its own jobs. Returns when the job has run.
  void runNow(const std::function<void()>& job);

  /// Blocks until no queue has a job left, but for those that say that they wait for something else.
  static void waitUntilAllAreIdle();
  /// Blocks until no queue is left. False if some still are after the patience of a test.
  [[nodiscard]] static bool waitUntilAllHaveEnded();

  /// Lives while a job waits, maybe for long, for somebody outside, such as the user. What is added behind it waits as
  /// long.
  class LongWait {
   public:
    LongWait();
    LongWait(const LongWait&) = delete;
    LongWait& operator=(const LongWait&) = delete;
    ~LongWait();
  };

 private:
  struct State;
  static void work(const std::shared_ptr<State>& state);

  /// Of the queue whose thread this is.
  static thread_local State* own;

  const std::shared_ptr<State> state_;
};

}  // namespace wicket::frameworks
