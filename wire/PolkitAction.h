// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>
#include <string_view>

namespace wicket::wire {

/// The polkit action for an authorization right: its name with every ":" written "-". Letters keep their
/// case, which polkit accepts; a colon it does not.
[[nodiscard]] std::string polkitAction(std::string_view rightName);

}  // namespace wicket::wire
