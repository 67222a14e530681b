// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <expected>
#include <string>

namespace wicket::companion::doctor {

/// Whether the helper's service runs and began before the file @p executable became what it is: then it is another
/// helper than the installed one. Goes by what /proc tells every user, and is false where /proc tells nothing. An error
/// number where /proc cannot be read for a Shortage.
[[nodiscard]] std::expected<bool, int> runningHelperIsOlderThan(const std::string& executable);

}  // namespace wicket::companion::doctor
