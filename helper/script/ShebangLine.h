// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace wicket {

/// The line at the head of a script that names its interpreter.
struct ShebangLine {
  /// The words after "#!", the interpreter first; no quoting. None unless the line begins with these
  /// very two characters; empty when nothing but blanks follows them.
  [[nodiscard]] static std::optional<std::vector<std::string>> components(const std::optional<std::string>& line);
};

}  // namespace wicket
