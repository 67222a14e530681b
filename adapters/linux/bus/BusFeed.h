// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <array>
#include <optional>
#include <sys/socket.h>

#include "base/system/Descriptor.h"

namespace wicket::linux_adapter {

/// A pair of connected sockets: what is put into the entry comes out at the end that a bus reads.
struct BusFeed {
  Descriptor entry;
  Descriptor busEnd;

  /// None, with errno set, when the system has no descriptors left.
  [[nodiscard]] static std::optional<BusFeed> make() {
    std::array<int, 2> pair{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, pair.data()) != 0) return std::nullopt;
    return BusFeed{Descriptor(pair[0]), Descriptor(pair[1])};
  }
};

}  // namespace wicket::linux_adapter
