// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <chrono>
#include <memory>

#include "helper/platform/Connection.h"

namespace wicket {

/// Decides about new clients. Called on the listener's own serial queue.
class ListenerDelegate {
 public:
  ListenerDelegate() = default;
  ListenerDelegate(const ListenerDelegate&) = delete;
  ListenerDelegate& operator=(const ListenerDelegate&) = delete;
  virtual ~ListenerDelegate() = default;

  /// True accepts @p connection, which this call must have configured and resumed. False refuses
  /// it: the platform closes it, and no invalidation handler runs.
  [[nodiscard]] virtual bool shouldAcceptNewConnection(const std::shared_ptr<Connection>& connection) = 0;
};

/// The endpoint that clients connect to. Nothing is accepted before resume().
class Listener {
 public:
  /// What finish() gives to a client that has not asked anything yet, and to all of them together.
  static constexpr std::chrono::milliseconds timeToAsk{500};
  static constexpr std::chrono::milliseconds timeToFinish{1000};

  Listener() = default;
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;
  virtual ~Listener() = default;

  /// @p delegate must outlive the listener.
  virtual void setDelegate(ListenerDelegate& delegate) = 0;
  virtual void resume() = 0;
  /// For the end of the process: takes no more clients, so that those who come now wait for the
  /// process that is started next. Clients that wait for an answer or to be accepted, and those that
  /// have not asked anything yet and could not do so before the last timeToAsk, are still served:
  /// returns when all of them have their answers, after timeToFinish at most. Not on the delegate's
  /// queue.
  virtual void finish() = 0;
};

}  // namespace wicket
