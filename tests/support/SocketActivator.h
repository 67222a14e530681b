// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <sys/types.h>
#include <thread>
#include <vector>

#include "tests/support/Patience.h"

namespace wicket::support {

/// Owns the helper's socket as systemd does: it starts the program when a connection arrives, hands the
/// listening socket over, waits for the program's end and then listens again. All in one thread of its
/// own.
class SocketActivator {
 public:
  using Clock = std::chrono::steady_clock;

  /// The program looks here first for what it starts by name.
  static constexpr char firstProgramFolder[] = "/run/programs";

  /// One process. It starts after the first moment and has ended before the second.
  struct Life {
    pid_t pid;
    Clock::time_point started;
    std::optional<Clock::time_point> ended;
    int waitStatus = 0;
  };

  /// Standard output and error of the program go to the file @p errorFile.
  SocketActivator(std::string executable, std::string socketPath, std::string errorFile);
  SocketActivator(const SocketActivator&) = delete;
  SocketActivator& operator=(const SocketActivator&) = delete;
  /// Ends the program if it runs.
  ~SocketActivator();

  [[nodiscard]] std::vector<Life> lives() const;
  /// The running program, 0 when there is none.
  [[nodiscard]] pid_t currentPid() const;
  /// Whether that many programs have ended by then.
  [[nodiscard]] bool waitForEnds(std::size_t count, std::chrono::milliseconds timeout = patience);

 private:
  void serve();
  [[nodiscard]] bool waitForConnection() const;
  [[nodiscard]] bool waitForEnd(int pidDescriptor) const;
  /// Its number; none when there could not be another process.
  [[nodiscard]] std::optional<pid_t> start();
  [[nodiscard]] pid_t spawn() const;
  void awaitEnd(pid_t pid);

  std::string executable_;
  std::string errorFile_;
  int listeningSocket_;
  int stopEvent_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<Life> lives_;
  std::thread thread_;
};

}  // namespace wicket::support
