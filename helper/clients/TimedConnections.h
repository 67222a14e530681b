// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <deque>
#include <memory>
#include <mutex>

#include "helper/clients/TimedConnection.h"
#include "helper/platform/Connection.h"
#include "helper/platform/MainQueue.h"

namespace wicket {

/// The registry of accepted connections, in order of acceptance. Any thread. An entry stays until
/// remove() runs after its timer has fired, so a client that leaves early keeps its place until then.
class TimedConnections {
 public:
  TimedConnections(MainQueue& mainQueue, double interval);

  /// The oldest and the newest entry; null when there is none.
  [[nodiscard]] std::shared_ptr<TimedConnection> first() const;
  [[nodiscard]] std::shared_ptr<TimedConnection> last() const;
  [[nodiscard]] bool isEmpty() const;
  /// Seconds, as given; every entry gets TimedConnection::usualInterval.
  [[nodiscard]] double interval() const { return interval_; }
  /// The connection of this user's newest entry, to which text meant for that user goes; null when there is none.
  [[nodiscard]] std::shared_ptr<Connection> newestConnectionOf(UserIdentifier user) const;

  /// Registers a connection and starts its countdown. One that is registered already (the same
  /// object) starts a fresh countdown if its timer is still running; otherwise nothing happens.
  void add(const std::shared_ptr<Connection>& connection);
  /// Prunes the entries whose timer has fired; the others keep their order.
  void remove();

 private:
  MainQueue& mainQueue_;
  const double interval_;
  mutable std::mutex mutex_;
  std::deque<std::shared_ptr<TimedConnection>> connections_;
  const TimedConnection::FiredCount firedCount_ = std::make_shared<std::atomic<std::size_t>>(0);
};

}  // namespace wicket
