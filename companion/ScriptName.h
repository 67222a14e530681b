// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <optional>
#include <string_view>

#include "base/text/Problem.h"

namespace wicket::companion {

/// The helper joins script names to its folder as they come, so the companion lets none pass that could
/// lead out of the folder: only one plain file name, UTF-8, at most 255 bytes, without control characters.
/// None means that @p name is such a name.
[[nodiscard]] std::optional<Problem> problemWithBareName(std::string_view name);
/// The same for a name to install under, which the helper must also leave as it is when it cleans the
/// destination.
[[nodiscard]] std::optional<Problem> problemWithNewName(std::string_view name);

}  // namespace wicket::companion
