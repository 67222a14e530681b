// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace wicket {

/// The string with which a client names an installation: the source file's path and the installed
/// copy's path, joined by a comma. Both operations are none unless there are exactly two paths, and
/// when cleaning leaves nothing of the one asked for.
struct TwoPathRequest {
  [[nodiscard]] static std::optional<std::string> source(std::string_view request);
  [[nodiscard]] static std::optional<std::string> destination(std::string_view request);
};

}  // namespace wicket
