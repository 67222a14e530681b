// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "helper/platform/MainQueue.h"

namespace wicket::macos_adapter {

class DispatchTimer;

/// The main thread's run loop, which also drains the main dispatch queue, where the timers fire.
class MainRunLoop final : public MainQueue {
 public:
  MainRunLoop() = default;
  ~MainRunLoop() override;

  std::shared_ptr<Timer> schedule(std::chrono::nanoseconds delay, std::function<void()> handler) override;
  void run(std::chrono::nanoseconds duration) override;

 private:
  std::mutex mutex_;
  std::vector<std::weak_ptr<DispatchTimer>> timers_;
};

}  // namespace wicket::macos_adapter
