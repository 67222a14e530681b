// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <sys/resource.h>

namespace wicket::linux_adapter {

/// How many descriptors this process may have open: RLIMIT_NOFILE of setrlimit(2).
struct DescriptorLimit {
  /// From now on as many as it is allowed to allow itself. The limit as it was: what a program expects that may use
  /// select(2), usually 1024.
  static rlimit raise();
};

}  // namespace wicket::linux_adapter
