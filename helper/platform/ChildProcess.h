// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstddef>
#include <expected>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace wicket {

/// Why a child could not be started; the number is the platform's errno.
struct LaunchError {
  int number;
  friend bool operator==(LaunchError, LaunchError) = default;
};

/// What to start and who is told. All handlers run on threads of the platform, never two at once
/// for one child; they may block, and the child then waits on its full pipe. They must not throw.
/// They are released once both streams have ended and the child is gone.
struct ChildProcessTask {
  /// Absolute, or relative to the current directory. No search path, no shell.
  std::string launchPath;
  /// argv[1] onwards, verbatim; text after an embedded NUL is cut. argv[0] is the launch path.
  std::vector<std::string> arguments;
  /// One chunk for each read, at most a pipe's capacity (64 KiB), in the order the child wrote. A
  /// chunk ends on a UTF-8 character boundary where the bytes allow it: up to 3 bytes of an
  /// unfinished character wait for the next read or the end of the stream.
  std::function<void(std::span<const std::byte>)> onStandardOutput;
  std::function<void(std::span<const std::byte>)> onStandardError;
  /// Called once when the child itself has ended, after everything it had written by then was
  /// delivered. Descendants that still hold the pipes delay it no further; their output follows.
  std::function<void(int status)> onTermination;
};

/// A child that was started.
class ChildProcess {
 public:
  ChildProcess() = default;
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  virtual ~ChildProcess() = default;

  /// Blocks until the child has ended and returns its status: the exit code 0 to 255, or the bare
  /// number of the signal that killed it. May return before or after onTermination has run. Not to
  /// be called from one of the task's handlers.
  virtual int waitUntilExit() = 0;
};

/// Starts children. Each one leads a process group of its own, starts with an empty signal mask and
/// default dispositions, inherits the environment and the current directory and no descriptor but
/// its three standard ones. Its standard input is a pipe that is never written and stays open as
/// long as this process lives and the child runs, so a child that reads it waits.
class ChildProcessLauncher {
 public:
  ChildProcessLauncher() = default;
  ChildProcessLauncher(const ChildProcessLauncher&) = delete;
  ChildProcessLauncher& operator=(const ChildProcessLauncher&) = delete;
  virtual ~ChildProcessLauncher() = default;

  /// Any thread. A tool that is missing, a directory, not executable or of no known format is an
  /// error: no handler then runs. Dropping the child does not stop it.
  [[nodiscard]] virtual std::expected<std::shared_ptr<ChildProcess>, LaunchError> launch(ChildProcessTask task) = 0;
};

}  // namespace wicket
