// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <compare>
#include <string_view>

namespace wicket::codesign {

/// Orders texts so that the digits in them count as numbers, of any length: a2 before a10, 1.9 before
/// 1.10. Leading zeros make no difference. All else goes by the bytes' values.
[[nodiscard]] std::weak_ordering numericOrder(std::string_view left, std::string_view right);

}  // namespace wicket::codesign
