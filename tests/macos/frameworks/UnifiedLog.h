// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <atomic>

namespace wicket::frameworks {

/// Which entries the system's log takes. What is written is in the recording, as "log TYPE FORMAT: TEXT".
struct UnifiedLog {
  static std::atomic<bool> takesFaults;
};

}  // namespace wicket::frameworks
