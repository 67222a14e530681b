// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

namespace wicket {

/// Whether a character can move a terminal's cursor or end a line, and so must not be shown as it is: those of C0 and
/// C1, DEL, and the separators of lines and paragraphs.
[[nodiscard]] constexpr bool isControlCharacter(char32_t scalar) {
  return scalar < 0x20 || (scalar >= 0x7F && scalar < 0xA0) || scalar == 0x2028 || scalar == 0x2029;
}

}  // namespace wicket
