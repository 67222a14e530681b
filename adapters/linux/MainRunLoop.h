// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

#include "helper/platform/MainQueue.h"

namespace wicket::linux_adapter {

/// The main thread's loop. Timers may be armed and cancelled from any thread, also after the loop's
/// end; one that falls due between two passes fires at the beginning of the next.
class MainRunLoop final : public MainQueue {
 public:
  MainRunLoop();
  ~MainRunLoop() override;

  [[nodiscard]] std::shared_ptr<Timer> schedule(std::chrono::nanoseconds delay, std::function<void()> handler) override;
  void run(std::chrono::nanoseconds duration) override;

 private:
  struct State;
  class LoopTimer;
  /// Fires the first timer if its time has come and is not after @p latest.
  bool fireNext(std::chrono::steady_clock::time_point latest);

  const std::shared_ptr<State> state_;
};

}  // namespace wicket::linux_adapter
