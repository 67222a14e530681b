// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace wicket::companion {

/// Takes the first scalar off @p rest. None, with @p rest unchanged, when it is empty or does not begin
/// with a complete and well-formed UTF-8 sequence (no overlong form, no surrogate, nothing above U+10FFFF).
[[nodiscard]] std::optional<char32_t> takeScalar(std::string_view& rest);
[[nodiscard]] bool isUtf8(std::string_view text);
/// How a message names a character: "#" as itself in quotation marks, others as U+00E9.
[[nodiscard]] std::string characterName(char32_t scalar);
/// @p text between quotation marks for a message on a terminal: control characters and bytes that are not
/// UTF-8 appear as \xNN, so that a name cannot move the cursor or forge a second line.
[[nodiscard]] std::string quotedText(std::string_view text);

}  // namespace wicket::companion
