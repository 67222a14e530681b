// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cerrno>
#include <concepts>

namespace wicket::system {

/// Makes a system call again as often as a signal handler interrupts it; then its result, and errno as it has left it.
template <std::invocable Call>
[[nodiscard]] auto uninterrupted(Call call) {
  for (;;) {
    const auto result = call();
    if (result >= 0 || errno != EINTR) return result;
  }
}

}  // namespace wicket::system
