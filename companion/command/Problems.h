// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/text/Problem.h"
#include "companion/HelperConnection.h"
#include "companion/PolkitTextAgent.h"

namespace wicket::companion::command {

[[nodiscard]] Problem problemWith(const ConnectionError& error, const std::string& socketPath);
[[nodiscard]] Problem problemWith(CallError error);
/// Why the consent was missing: @p message is what the helper says, @p absence why this command could not
/// ask for a password on its own.
[[nodiscard]] Problem problemWithConsent(std::string_view message, std::optional<PolkitTextAgent::Absence> absence);

}  // namespace wicket::companion::command
