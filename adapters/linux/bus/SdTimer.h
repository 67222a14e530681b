// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <chrono>
#include <cstdint>
#include <systemd/sd-event.h>

#include "base/system/linux/SdHandle.h"

namespace wicket::linux_adapter {

/// Arms a timer that goes off so long after this moment. The library's own relative timers count from when the loop
/// woke last, and on a busy machine much time may have passed since. A negative errno on failure.
[[nodiscard]] inline int armTimer(sd_event* event, SdHandle<sd_event_source>& timer, std::chrono::microseconds delay,
                                  sd_event_time_handler_t handler, void* userData) {
  constexpr std::uint64_t accuracy = 1000;
  // The steady clock is CLOCK_MONOTONIC.
  const auto moment = std::chrono::steady_clock::now().time_since_epoch() + delay;
  const auto microseconds = std::chrono::ceil<std::chrono::microseconds>(moment).count();
  sd_event_source* source = nullptr;
  const int result = sd_event_add_time(event, &source, CLOCK_MONOTONIC, static_cast<std::uint64_t>(microseconds),
                                       accuracy, handler, userData);
  if (result >= 0) timer.reset(source);
  return result;
}

}  // namespace wicket::linux_adapter
