// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <chrono>

namespace wicket::support {

/// How long a test waits for what must happen. Nobody promised it: it only ends a test that would wait for ever, so it
/// is far beyond what the busiest machine needs. What is promised in seconds is measured by a Stopwatch.
inline constexpr std::chrono::seconds patience{120};

}  // namespace wicket::support
