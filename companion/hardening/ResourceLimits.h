// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <optional>
#include <sys/resource.h>
#include <vector>

namespace wicket::companion {

/// Limits under which a program can finish what it began. A caller can set tiny soft limits, so that the
/// program would die in the middle of writing; they go up to what the hard limits allow, which nobody
/// without privileges can raise. What the hard limits still forbid shows as an ordinary error of a call.
class ResourceLimits {
 public:
  /// As many descriptors as any program expects; more only cost those who walk over all of them.
  static constexpr rlim_t descriptors = 1024;
  static constexpr rlim_t stackBytes = rlim_t{8} << 20U;

  /// The resources that are looked after.
  [[nodiscard]] static const std::vector<int>& resources();
  /// What @p resource, one of the above, is to have instead of @p now; nothing when it may stay.
  [[nodiscard]] static std::optional<rlimit> planned(int resource, const rlimit& now);
  /// Brings this process under them. False when the kernel refuses one.
  [[nodiscard]] static bool enter();
};

}  // namespace wicket::companion
