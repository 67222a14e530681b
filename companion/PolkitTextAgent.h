// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <expected>
#include <string>
#include <sys/types.h>
#include <termios.h>

namespace wicket::companion {

/// polkit's password prompt on the terminal, running as long as this object lives. An agent of the user's
/// desktop session goes before it.
class PolkitTextAgent {
 public:
  static constexpr char usualExecutable[] = "/usr/bin/pkttyagent";

  enum class Absence {
    noTerminal,    ///< standard input is no terminal: there is nobody to ask
    notInstalled,  ///< there is no such executable
    failed,        ///< it could not be started or ended before it was ready
  };

  /// Starts the agent for this process and waits until polkit knows it.
  [[nodiscard]] static std::expected<PolkitTextAgent, Absence> start(const std::string& executable = usualExecutable);

  PolkitTextAgent(PolkitTextAgent&& other) noexcept;
  PolkitTextAgent& operator=(PolkitTextAgent&&) = delete;
  PolkitTextAgent(const PolkitTextAgent&) = delete;
  PolkitTextAgent& operator=(const PolkitTextAgent&) = delete;
  /// Ends the agent and gives the terminal back as it was, even in the middle of a password.
  ~PolkitTextAgent();

 private:
  PolkitTextAgent(pid_t agent, const termios& terminal) : agent_(agent), terminal_(terminal) {}

  pid_t agent_;
  termios terminal_;
};

}  // namespace wicket::companion
