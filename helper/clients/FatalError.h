// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string_view>

namespace wicket {

/// Ends the process because of a programming error: @p message on standard error, with the source
/// file that it was raised from.
[[noreturn]] void fatalError(std::string_view sourceFile, std::string_view message);

}  // namespace wicket
