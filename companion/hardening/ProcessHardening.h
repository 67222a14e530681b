// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <optional>

#include "base/text/Problem.h"

namespace wicket::companion {

/// Undoes what a caller can do to a program before it begins. The command is installed with a set-group
/// bit, so its caller may be hostile; everything that outlives an exec() is set to a known state:
///  - limits (see ResourceLimits), and no more signal for a file that grew too long: writing fails instead;
///  - descriptors: all above 2 are closed, and 0 to 2 are open. One that was missing cannot be used, as
///    before, but no file that is opened later takes its number;
///  - interval timers, the signal mask and ignored signals. SIGHUP, SIGINT and SIGQUIT stay ignored where
///    they were: this is how nohup and background jobs ask to be left alone, and nothing here relies on them;
///  - the file mode mask: what is made belongs to its user alone;
///  - readability: no tracing and no core file, whatever the system's settings;
///  - the environment (see SafeEnvironment).
/// The working folder stays, because paths on the command line start there; it is used with the user's own
/// rights only. no_new_privs is not set: polkit's agent needs its set-user-ID part.
class ProcessHardening {
 public:
  /// To be called first in a program, before other threads run. A problem means that the program must end.
  [[nodiscard]] static std::optional<Problem> apply();
};

}  // namespace wicket::companion
