// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <chrono>
#include <functional>
#include <thread>

#include "tests/support/Patience.h"

namespace wicket::support {

/// Waits for something that nothing tells of when it happens. Whether it has, within the patience of a test.
[[nodiscard]] inline bool comesTrue(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + patience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

}  // namespace wicket::support
