// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>
#include <string_view>

namespace wicket {

/// @p text as a JSON string with its quotation marks, which a terminal can show as well: no control character
/// is left in it, and bytes that are not UTF-8 become U+FFFD.
[[nodiscard]] std::string jsonString(std::string_view text);

}  // namespace wicket
