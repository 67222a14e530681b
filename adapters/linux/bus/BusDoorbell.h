// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include "base/system/Descriptor.h"

namespace wicket::linux_adapter {

/// Something that lives on the I/O thread and can be asked from others to look after its affairs.
class BusWorker {
 public:
  BusWorker() = default;
  BusWorker(const BusWorker&) = delete;
  BusWorker& operator=(const BusWorker&) = delete;
  virtual ~BusWorker() = default;
  /// I/O thread. There is something to do; what, the worker finds out itself.
  virtual void service() = 0;
};

/// How other threads reach the I/O thread. It may outlive the thread: later rings are lost.
class BusDoorbell {
 public:
  BusDoorbell();

  /// Any thread. service() of @p worker runs after all rings that come before it. Never fails: the
  /// room was made by makeRoomFor().
  void ring(const std::weak_ptr<BusWorker>& worker) noexcept;

  /// @name I/O thread
  /// @{
  /// Readable when somebody has rung.
  [[nodiscard]] int descriptor() const { return event_.get(); }
  /// Lets this many different workers ring.
  void makeRoomFor(std::size_t workers);
  /// Runs service() of everybody who rang.
  void answer();
  /// Rings are lost from now on.
  void close();
  /// @}

 private:
  const Descriptor event_;
  std::mutex mutex_;
  std::vector<std::weak_ptr<BusWorker>> rung_;
  std::vector<std::weak_ptr<BusWorker>> answering_;
  bool isClosed_ = false;
};

}  // namespace wicket::linux_adapter
