// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <csignal>

#include "base/system/Descriptor.h"

namespace wicket::companion::command {

/// Turns SIGINT, SIGTERM and SIGHUP into a readable descriptor, so that the command can leave nothing
/// behind (a staged copy, a password agent) and say what goes on without it. A signal that was ignored
/// when the command started stays ignored. One object per process.
class Interruption {
 public:
  Interruption();
  ~Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

  [[nodiscard]] int descriptor() const { return readEnd_.get(); }
  /// The first signal that came, or 0.
  [[nodiscard]] static int caughtSignal();

 private:
  Descriptor readEnd_;
  Descriptor writeEnd_;
};

}  // namespace wicket::companion::command
