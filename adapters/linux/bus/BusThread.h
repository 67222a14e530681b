// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <functional>
#include <memory>
#include <systemd/sd-event.h>
#include <thread>

#include "adapters/linux/bus/BusDoorbell.h"

namespace wicket::linux_adapter {

/// The one thread that touches the sd-event and sd-bus objects of clients. It answers the doorbell and whatever
/// sources are added to its event loop.
class BusThread {
 public:
  /// @p setUp runs on the thread before its loop, @p tearDown after it and before the loop is freed.
  BusThread(std::shared_ptr<BusDoorbell> doorbell, std::function<void(sd_event*)> setUp,
            std::function<void()> tearDown);
  BusThread(const BusThread&) = delete;
  BusThread& operator=(const BusThread&) = delete;
  /// Ends the loop and waits for the thread.
  ~BusThread();

 private:
  class Stopper;
  void run(const std::function<void(sd_event*)>& setUp, const std::function<void()>& tearDown) noexcept;

  const std::shared_ptr<BusDoorbell> doorbell_;
  const std::shared_ptr<Stopper> stopper_;
  std::thread thread_;
};

}  // namespace wicket::linux_adapter
