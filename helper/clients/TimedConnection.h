// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>

#include "helper/platform/Connection.h"
#include "helper/platform/MainQueue.h"
#include "protocol/HelperProtocol.h"

namespace wicket {

/// An accepted connection and the one-shot timer that cuts it. The countdown runs on the main queue
/// and is not extended by activity. Any thread; always owned by a shared pointer, which an armed
/// timer shares.
class TimedConnection : public std::enable_shared_from_this<TimedConnection> {
 public:
  /// How many timers have fired that nobody has taken notice of yet.
  using FiredCount = std::shared_ptr<std::atomic<std::size_t>>;

  /// In seconds, as everybody gives it.
  static constexpr double usualInterval = std::chrono::duration<double>(helper_protocol::connectionLifetime).count();

  TimedConnection(MainQueue& mainQueue, std::shared_ptr<Connection> connection, double interval,
                  FiredCount firedCount = std::make_shared<std::atomic<std::size_t>>(0));

  [[nodiscard]] const std::shared_ptr<Connection>& connection() const { return connection_; }
  /// Seconds, as given; arming always takes the connection's lifetime.
  [[nodiscard]] double interval() const { return interval_; }
  /// Present while the countdown runs: null before arming and once it has fired.
  [[nodiscard]] std::shared_ptr<Timer> timer() const;
  [[nodiscard]] bool isArmed() const { return timer() != nullptr; }

  /// Arms the timer for a connection's lifetime from now; without effect while it is armed.
  void install();
  /// Starts a fresh countdown. False, and nothing happens, when none is running.
  bool resetInvalidation();

 private:
  void installLocked();
  void fire(std::uint64_t arming);

  MainQueue& mainQueue_;
  const std::shared_ptr<Connection> connection_;
  const double interval_;
  const FiredCount firedCount_;
  mutable std::mutex mutex_;
  std::shared_ptr<Timer> timer_;
  std::uint64_t arming_ = 0;  ///< tells a timer that fires from one that was replaced meanwhile
};

}  // namespace wicket
