// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <bit>
#include <cstdint>

#include "helper/platform/AuditToken.h"

namespace wicket::linux_adapter {

/// What is in an audit token.
struct AuditTokenWords {
  /// Of an audit user or session that nobody has set, and of a group that tells nothing.
  static constexpr std::uint32_t unset = 0xFFFFFFFF;

  std::uint32_t auid;
  std::uint32_t euid;
  /// The effective group that only a set-group executable can have given to the process. Unset when it is its
  /// real group or among its supplementary ones too: whoever has the group himself may have it in any program.
  std::uint32_t egid;
  std::uint32_t ruid;
  std::uint32_t rgid;
  std::uint32_t pid;
  std::uint32_t asid;
  /// The low bits of PeerProcess's version; zero when the process was gone already.
  std::uint32_t pidVersion;

  [[nodiscard]] static AuditTokenWords of(const AuditTokenData& data) { return std::bit_cast<AuditTokenWords>(data); }
  [[nodiscard]] AuditTokenData data() const { return std::bit_cast<AuditTokenData>(*this); }
};

}  // namespace wicket::linux_adapter
