// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>
#include <string_view>

namespace wicket {

/// How a message names a character: "#" as itself in quotation marks, others as U+00E9.
[[nodiscard]] std::string characterName(char32_t scalar);
/// Takes the first character off @p text, which must not be empty: as it is, or as \xNN for each of its bytes when it
/// is a control character or no UTF-8.
[[nodiscard]] std::string takeVisible(std::string_view& text);
/// @p text between quotation marks for a message on a terminal: control characters and bytes that are not
/// UTF-8 appear as \xNN, so that a name cannot move the cursor or forge a second line.
[[nodiscard]] std::string quotedText(std::string_view text);

}  // namespace wicket
