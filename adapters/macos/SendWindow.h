// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>

#include "helper/platform/Connection.h"

namespace wicket::macos_adapter {

/// How much of what was sent to one client has not yet left this process. XPC does not tell, but it runs a barrier
/// once everything sent before has left, so every batch of messages is followed by one. Any thread.
class SendWindow {
 public:
  /// More than this is not held for a client that does not read.
  static constexpr std::size_t highWater = Connection::highWaterMark;

  /// Counts a message that was just sent. Unless it returns 0, a barrier is due now, which is to hand the number to
  /// left().
  [[nodiscard]] std::size_t sent(std::size_t bytes);
  void left(std::size_t bytes);
  /// Blocks while more than the high-water mark is on its way.
  void waitForCapacity();
  /// Nothing more will leave, and nobody is to wait for it.
  void close();

 private:
  std::mutex mutex_;
  std::condition_variable drained_;
  std::size_t onTheWay_ = 0;
  std::size_t sinceBarrier_ = 0;
  bool isClosed_ = false;
};

}  // namespace wicket::macos_adapter
