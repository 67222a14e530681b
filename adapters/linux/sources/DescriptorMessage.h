// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include "base/system/Descriptor.h"

namespace wicket::linux_adapter {

/// One message over a Unix socket that keeps message boundaries, with descriptors: SCM_RIGHTS of unix(7).
struct DescriptorMessage {
  static constexpr std::size_t mostDescriptors = 2;

  std::vector<std::byte> bytes;
  std::vector<Descriptor> descriptors;  ///< closed in children

  /// False, with errno set, when it could not be sent whole. Never raises SIGPIPE.
  [[nodiscard]] static bool send(int socket, std::span<const std::byte> bytes, std::span<const int> descriptors);
  /// Waits for it. None at the socket's end, for a message that is longer than @p mostBytes and on errors.
  [[nodiscard]] static std::optional<DescriptorMessage> receive(int socket, std::size_t mostBytes);
};

}  // namespace wicket::linux_adapter
