// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>

namespace wicket::companion::doctor {

/// Why a look failed that says nothing about what it was for: this process, or the system, has no descriptors or no
/// memory left. Told by error numbers, see linux_adapter::isShortage().
class Shortage {
 public:
  /// What the user can do about it, as a sentence without its full stop.
  [[nodiscard]] static std::string nextStep(int error);
  /// As many descriptors as any look needs at once.
  static constexpr int mostDescriptors = 8;
  /// For a look that failed with @p error, or for a reason that nobody tells (0): the shortage that was behind it, or
  /// 0. Finds out whether @p descriptors, and no more than the above, can be opened.
  [[nodiscard]] static int behind(int error = 0, int descriptors = mostDescriptors);
};

}  // namespace wicket::companion::doctor
