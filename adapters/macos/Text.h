// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#import <Foundation/Foundation.h>
#include <optional>
#include <string>
#include <string_view>

namespace wicket::macos_adapter {

/// The UTF-8 of @p text, embedded NULs included; empty for nil. None for a text that is not Unicode, namely one with
/// half of a surrogate pair: it must not come to mean another one.
[[nodiscard]] std::optional<std::string> utf8Text(NSString* text);

/// Nil if @p text is not UTF-8.
[[nodiscard]] NSString* foundationText(std::string_view text);

}  // namespace wicket::macos_adapter
