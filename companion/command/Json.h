// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>
#include <string_view>

namespace wicket::companion::command {

/// @p text as a JSON string with its quotation marks; bytes that are not UTF-8 become U+FFFD.
[[nodiscard]] std::string jsonString(std::string_view text);

}  // namespace wicket::companion::command
