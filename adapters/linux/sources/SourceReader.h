// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <span>

namespace wicket::linux_adapter {

/// The process that opens and reads one file for ClientSourceFiles. It takes a client's place before it touches the
/// file: user, groups, mount namespace and root directory, without any capability, so that the kernel judges as it
/// would have judged the client. What the file or its file system does to whoever reads it, it does to this process.
struct SourceReader {
  /// The one argument of such a process, and the descriptor of its socket.
  static constexpr char argument[] = "--read-source";
  static constexpr int socket = 3;

  [[nodiscard]] static bool isAskedForBy(std::span<char* const> arguments);
  /// Answers one request and ends the process.
  [[noreturn]] static void run();
};

}  // namespace wicket::linux_adapter
