// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <expected>

namespace wicket::companion::doctor {

/// Whether the system's message bus knows polkit's name, running or ready to be started. An error number when the bus
/// does not say so.
[[nodiscard]] std::expected<bool, int> polkitIsOnBus();

}  // namespace wicket::companion::doctor
