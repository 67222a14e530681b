// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>
#include <string_view>

namespace wicket {

/// @p name between quotation marks for a question on whose answer much depends. Whatever shows it, it can neither be
/// read as anything but a name nor hide where it ends: only letters, digits and harmless signs of ASCII stand for
/// themselves, every other byte appears as \xNN; that covers line feeds, quotation marks, "$", markup and marks that
/// turn the direction of writing. Of a long one the middle is left out, between two pairs of quotation marks:
/// "begin"[123 more]"end".
[[nodiscard]] std::string quotedName(std::string_view name);

}  // namespace wicket
