// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstddef>
#include <string>

namespace wicket::codesign {

/// A place in a requirement's text. Both count from 1, columns in characters; a tabulator is one.
struct RequirementPosition {
  std::size_t line = 1;
  std::size_t column = 1;

  bool operator==(const RequirementPosition&) const = default;
};

/// Why a text is no requirement.
struct RequirementError {
  RequirementPosition position;
  std::string message;

  /// "LINE:COLUMN: MESSAGE"
  [[nodiscard]] std::string text() const {
    return std::to_string(position.line) + ":" + std::to_string(position.column) + ": " + message;
  }
};

}  // namespace wicket::codesign
