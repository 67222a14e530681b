// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>

namespace wicket::admission {

/// The real group and the supplementary ones: whoever has them has them in any program.
using OwnGroups = std::span<const std::uint32_t>;

[[nodiscard]] inline bool isAmong(OwnGroups own, std::uint32_t group) {
  return std::ranges::find(own, group) != own.end();
}

/// The effective group if only a set-group program can have given it.
[[nodiscard]] inline std::optional<std::uint32_t> groupFromProgram(std::uint32_t effective, OwnGroups own) {
  return isAmong(own, effective) ? std::nullopt : std::optional(effective);
}

}  // namespace wicket::admission
