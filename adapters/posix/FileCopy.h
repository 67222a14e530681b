// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>

#include "platform/FileManager.h"

namespace wicket::posix {

/// FileManager::copyItem: written under a temporary name beside the destination, synced, and given
/// its name only when complete. After a failure nothing of it is left.
[[nodiscard]] FileManager::Result copyFile(const std::string& source, const std::string& destination);

}  // namespace wicket::posix
