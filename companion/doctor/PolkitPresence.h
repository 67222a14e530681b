// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

namespace wicket::companion::doctor {

/// Whether the system's message bus knows polkit's name, running or ready to be started. False, too, when
/// there is no such bus.
[[nodiscard]] bool polkitIsOnBus();

}  // namespace wicket::companion::doctor
