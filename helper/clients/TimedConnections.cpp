// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors

#include "helper/clients/TimedConnections.h"

#include <algorithm>

namespace wicket {

TimedConnections::TimedConnections(MainQueue& mainQueue, double interval)
    : mainQueue_(mainQueue), interval_(interval) {}

std::shared_ptr<TimedConnection> TimedConnections::first() const {
  const std::lock_guard lock(mutex_);
  return connections_.empty() ? nullptr : connections_.front();
}

std::shared_ptr<TimedConnection> TimedConnections::last() const {
  const std::lock_guard lock(mutex_);
  return connections_.empty() ? nullptr : connections_.back();
}

bool TimedConnections::isEmpty() const {
  const std::lock_guard lock(mutex_);
  return connections_.empty();
}

std::shared_ptr<Connection> TimedConnections::newestConnectionOf(UserIdentifier user) const {
  const std::lock_guard lock(mutex_);
  const auto newest = std::find_if(connections_.rbegin(), connections_.rend(), [user](const auto& entry) {
    return entry->connection()->effectiveUserIdentifier() == user;
  });
  return newest == connections_.rend() ? nullptr : (*newest)->connection();
}

void TimedConnections::add(const std::shared_ptr<Connection>& connection) {
  const std::lock_guard lock(mutex_);
  const auto known = std::ranges::find(connections_, connection, &TimedConnection::connection);
  if (known != connections_.end()) {
    (*known)->resetInvalidation();
    return;
  }
  // Whatever the registry's own interval says.
  auto entry = std::make_shared<TimedConnection>(mainQueue_, connection, TimedConnection::usualInterval, firedCount_);
  entry->install();
  connections_.push_back(std::move(entry));
}

void TimedConnections::remove() {
  const std::lock_guard lock(mutex_);
  const auto hasFired = [](const auto& entry) { return !entry->isArmed(); };
  // Clients that leave early keep their places, so there may be tens of thousands of them, and one comes here for each
  // that leaves: only what has fired is looked for, first among the oldest, who are nearly always those.
  std::size_t fired = firedCount_->exchange(0);
  for (; fired > 0 && !connections_.empty() && hasFired(connections_.front()); --fired) connections_.pop_front();
  if (fired > 0) std::erase_if(connections_, hasFired);
}

}  // namespace wicket
