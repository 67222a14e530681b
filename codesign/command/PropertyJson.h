// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "codesign/plist/PropertyValue.h"

namespace wicket::codesign::command {

/// A value as JSON in one line. Whole and real numbers stay apart (1 and 1.0); data becomes an object with one
/// entry, "data", in hexadecimal, and what JSON has no kind for, such as a date, one with its element, "xml".
[[nodiscard]] std::string jsonOf(const PropertyValue& value);
[[nodiscard]] std::string inHexadecimal(std::span<const std::byte> bytes);

}  // namespace wicket::codesign::command
