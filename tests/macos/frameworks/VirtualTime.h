// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

namespace wicket::frameworks {

/// The time that dispatch timers and the run loop go by. It stands still but in a pass of the run loop, and there it
/// only goes on when no queue of the system's has anything left to do.
class VirtualTime {
 public:
  using Nanoseconds = std::uint64_t;

  /// Back to the beginning; forgets what was to happen. Armed timers fire no more.
  static void reset();
  [[nodiscard]] static Nanoseconds now();
  /// Since the beginning.
  [[nodiscard]] static std::chrono::nanoseconds elapsed();
  /// Lets @p action happen in the run loop's pass, as something from outside, when so much time has gone by.
  static void at(std::chrono::nanoseconds elapsed, std::function<void()> action);
  static void forgetActions();
  /// What a pass of the run loop does.
  static void runUntil(Nanoseconds time);
};

}  // namespace wicket::frameworks
