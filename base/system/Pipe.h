// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <expected>

#include "base/system/Descriptor.h"

namespace wicket::system {

/// A pipe that children do not inherit. Neither end is descriptor 0, 1 or 2, even in a process that
/// started with those closed: nothing that this process prints must end up in a child, and a child's
/// ends must not overwrite one another while they are put in their places.
struct Pipe {
  Descriptor readEnd;
  Descriptor writeEnd;

  /// The error is an errno.
  [[nodiscard]] static std::expected<Pipe, int> make();
};

}  // namespace wicket::system
