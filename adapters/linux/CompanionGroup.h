// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace wicket::linux_adapter {

/// The number of the group of this name; none if the system has none or cannot be asked, or if it is
/// the group of root.
[[nodiscard]] std::optional<gid_t> groupNamed(const std::string& name);

}  // namespace wicket::linux_adapter
