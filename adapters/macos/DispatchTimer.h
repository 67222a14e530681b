// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <chrono>
#import <dispatch/dispatch.h>
#include <functional>
#include <memory>
#include <mutex>

#include "helper/platform/MainQueue.h"

namespace wicket::macos_adapter {

/// A one-shot timer source on the main queue.
class DispatchTimer final : public Timer, public std::enable_shared_from_this<DispatchTimer> {
 public:
  explicit DispatchTimer(std::function<void()> handler);

  /// Once. The source then holds this object until it has fired or was cancelled.
  void arm(std::chrono::nanoseconds delay);
  void cancel() override;

 private:
  void fire() noexcept;

  std::mutex mutex_;
  std::function<void()> handler_;
  dispatch_source_t source_ = nil;
};

}  // namespace wicket::macos_adapter
