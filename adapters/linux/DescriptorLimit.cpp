// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/DescriptorLimit.h"

namespace wicket::linux_adapter {

rlimit DescriptorLimit::raise() {
  rlimit before{};
  ::getrlimit(RLIMIT_NOFILE, &before);
  const rlimit raised{before.rlim_max, before.rlim_max};
  ::setrlimit(RLIMIT_NOFILE, &raised);
  return before;
}

}  // namespace wicket::linux_adapter
