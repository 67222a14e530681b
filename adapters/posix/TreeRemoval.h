// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>

#include "helper/platform/FileManager.h"

namespace wicket::posix {

/// Empties the directory at @p path, post-order, without following links or leaving its file
/// system, and stops at the first error. Holds two descriptors at most, however deep the tree is.
[[nodiscard]] FileManager::Result emptyDirectory(const std::string& path);

}  // namespace wicket::posix
