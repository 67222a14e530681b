// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <expected>

#include "adapters/posix/Descriptor.h"

namespace wicket::posix {

/// A pipe that children do not inherit. Neither end is descriptor 0, 1 or 2, even in a process that
/// started with those closed, so both can be placed there in a child without overwriting one another.
struct Pipe {
  Descriptor readEnd;
  Descriptor writeEnd;

  /// The error is an errno.
  [[nodiscard]] static std::expected<Pipe, int> make();
};

}  // namespace wicket::posix
