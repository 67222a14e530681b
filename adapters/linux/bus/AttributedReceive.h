// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <sys/types.h>

namespace wicket::linux_adapter {

/// A piece of what has arrived at a Unix stream socket that asks for credentials, SO_PASSCRED of unix(7).
struct AttributedReceive {
  /// As recv(2), errno included.
  ssize_t count;
  /// The process that wrote the piece, on the kernel's word. None when the piece was written just before
  /// the socket asked for credentials, or from a pid namespace that is not visible from here.
  std::optional<pid_t> sender;
  /// Something came along that nobody asked for, such as descriptors. It has not entered this process.
  bool hasMore;

  [[nodiscard]] static AttributedReceive from(int socket, std::span<std::byte> buffer);
  /// Has the kernel name the senders. An accepted connection takes it from its listener only on newer
  /// kernels, so both are asked to. Whether that worked.
  static bool enable(int socket);
};

}  // namespace wicket::linux_adapter
