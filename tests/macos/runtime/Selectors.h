// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string_view>

#include "tests/macos/runtime/Metadata.h"

namespace wicket::objc {

/// The one pointer that stands for all selectors of that text. Any thread.
[[nodiscard]] Selector uniqueSelector(std::string_view text);

}  // namespace wicket::objc
