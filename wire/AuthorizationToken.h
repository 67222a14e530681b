// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace wicket::wire {

/// The authorization external form on Linux: it names the process for which polkit is asked. It is
/// no secret and proves nothing by itself; polkit's answer for that process does.
struct AuthorizationToken {
  static constexpr std::size_t length = 32;
  using Bytes = std::array<std::byte, length>;

  std::uint32_t pid;
  std::uint32_t uid;
  std::uint64_t startTime;   ///< field 22 of /proc/PID/stat, in clock ticks since boot
  std::uint64_t pidfdInode;  ///< inode number of a pidfd of the process; 0 where the kernel has none

  friend bool operator==(const AuthorizationToken&, const AuthorizationToken&) = default;

  /// An 8-byte magic, then the fields in order, little-endian.
  [[nodiscard]] Bytes serialize() const;
  /// None unless @p bytes has the right length and magic.
  [[nodiscard]] static std::optional<AuthorizationToken> parse(std::span<const std::byte> bytes);
};

}  // namespace wicket::wire
