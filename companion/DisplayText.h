// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>
#include <string_view>

namespace wicket::companion {

/// How a message names a character: "#" as itself in quotation marks, others as U+00E9.
[[nodiscard]] std::string characterName(char32_t scalar);
/// @p text between quotation marks for a message on a terminal: control characters and bytes that are not
/// UTF-8 appear as \xNN, so that a name cannot move the cursor or forge a second line.
[[nodiscard]] std::string quotedText(std::string_view text);

}  // namespace wicket::companion
