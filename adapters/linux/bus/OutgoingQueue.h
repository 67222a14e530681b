// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>

#include "adapters/linux/bus/Outgoing.h"
#include "helper/platform/Connection.h"

namespace wicket::linux_adapter {

/// What one client has still to be sent, in the order it was produced, with an account of the memory
/// it takes. Any thread.
class OutgoingQueue {
 public:
  /// Above this, producers wait and nothing more is read from the client.
  static constexpr std::size_t highWater = Connection::highWaterMark;
  /// Above this, the client is cut: it does not read, and somebody who cannot wait writes to it.
  static constexpr std::size_t limit = std::size_t{8} << 20U;

  enum class PushResult { accepted, dropped, overflow };

  [[nodiscard]] PushResult push(Outgoing item);
  /// Takes the next item; its size stays on the account until written() is called.
  [[nodiscard]] std::optional<Outgoing> pop();
  /// Everything taken so far has gone into the socket.
  void written();
  [[nodiscard]] bool isAboveHighWater() const;
  /// Blocks while the queue is above high water and open.
  void waitForCapacity();
  /// Drops what is queued and whatever comes later, and releases those who wait.
  void close();

 private:
  static std::size_t sizeOf(const Outgoing& item);

  mutable std::mutex mutex_;
  std::condition_variable drained_;
  std::deque<Outgoing> items_;
  std::size_t queued_ = 0;
  std::size_t taken_ = 0;
  bool isClosed_ = false;
};

}  // namespace wicket::linux_adapter
