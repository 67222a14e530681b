// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>

namespace wicket {

/// Why an authorization could not be verified: the single case "message" with its text.
struct HelperAuthorizationError {
  std::string message;

  /// The printed form of the value: the case and its text in quotes, with control characters,
  /// quotes and backslashes escaped, e.g. message("Optional(The authorization was denied.)").
  [[nodiscard]] std::string description() const;

  friend bool operator==(const HelperAuthorizationError&, const HelperAuthorizationError&) = default;
};

}  // namespace wicket
