// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <expected>

#include "base/system/Pipe.h"

namespace wicket::posix {

/// Everything between one child and this process.
struct ChildPipes {
  system::Pipe input;   ///< standard input; never written
  system::Pipe output;  ///< standard output; the read end does not block
  system::Pipe error;   ///< standard error; the read end does not block
  system::Pipe ended;   ///< gets one byte, from this process, when the child has ended

  /// The error is an errno.
  [[nodiscard]] static std::expected<ChildPipes, int> make();

  /// Gives up this process's copies of the ends that belong to the child, or its streams would never end.
  void closeChildEnds();
};

}  // namespace wicket::posix
