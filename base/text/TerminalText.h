// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>
#include <string_view>

namespace wicket {

/// What a terminal may be sent of a stream of UTF-8 text that comes in pieces. Control characters appear as \xNN, so
/// that nobody's text can move the cursor, rename the window or have an answer typed; tab, line feed and the
/// sequences that only set colours (SGR of ECMA-48, "ESC [ ... m") stay as they are.
class TerminalText {
 public:
  /// Keeps the beginning of what may become such a sequence for the next piece.
  [[nodiscard]] std::string visible(std::string_view piece);
  /// What was kept, when nothing follows it.
  [[nodiscard]] std::string finish();

 private:
  std::string unfinished_;
};

}  // namespace wicket
