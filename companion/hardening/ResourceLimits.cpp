// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/hardening/ResourceLimits.h"

#include <algorithm>

namespace wicket::companion {

const std::vector<int>& ResourceLimits::resources() {
  static const std::vector<int> all{RLIMIT_CORE, RLIMIT_NOFILE, RLIMIT_STACK, RLIMIT_FSIZE,
                                    RLIMIT_CPU,  RLIMIT_AS,     RLIMIT_DATA};
  return all;
}

std::optional<rlimit> ResourceLimits::planned(int resource, const rlimit& now) {
  rlimit wanted = now;
  switch (resource) {
    case RLIMIT_CORE:  // a core file would hold what only this program may see
      wanted = {0, 0};
      break;
    case RLIMIT_NOFILE:
      wanted.rlim_cur = std::min(now.rlim_max, descriptors);
      break;
    case RLIMIT_STACK:
      wanted.rlim_cur = std::min(now.rlim_max, stackBytes);
      break;
    default:
      wanted.rlim_cur = now.rlim_max;
  }
  if (wanted.rlim_cur == now.rlim_cur && wanted.rlim_max == now.rlim_max) return std::nullopt;
  return wanted;
}

bool ResourceLimits::enter() {
  return std::ranges::all_of(resources(), [](int resource) {
    rlimit now{};
    // The type of the first argument is an enumeration in some of the system's headers.
    using Resource = decltype(RLIMIT_CORE);
    if (::getrlimit(static_cast<Resource>(resource), &now) != 0) return false;
    const auto wanted = planned(resource, now);
    return !wanted || ::setrlimit(static_cast<Resource>(resource), &*wanted) == 0;
  });
}

}  // namespace wicket::companion
