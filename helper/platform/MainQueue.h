// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace wicket {

/// A one-shot timer that has been armed.
class Timer {
 public:
  Timer() = default;
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;
  virtual ~Timer() = default;

  /// Any thread. The handler does not start after this returns; one that is running is not
  /// interrupted. Without effect on a timer that has fired.
  virtual void cancel() = 0;
};

/// The main thread's loop and the timers that fire on it. Time is CLOCK_MONOTONIC: it stands still
/// while the machine sleeps. What is still armed when the queue ends never fires, and lets go of what
/// its handler holds.
class MainQueue {
 public:
  MainQueue() = default;
  MainQueue(const MainQueue&) = delete;
  MainQueue& operator=(const MainQueue&) = delete;
  virtual ~MainQueue() = default;

  /// Any thread. Runs @p handler once on the main thread, @p delay from now, never early and with no
  /// leeway. Dropping the timer does not cancel it.
  [[nodiscard]] virtual std::shared_ptr<Timer> schedule(std::chrono::nanoseconds delay,
                                                        std::function<void()> handler) = 0;
  /// Main thread only. One pass: fires what is due until @p duration has gone by in full. Nothing
  /// that runs meanwhile ends it early.
  virtual void run(std::chrono::nanoseconds duration) = 0;
};

}  // namespace wicket
