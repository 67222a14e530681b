// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>

#include "platform/FileManager.h"

namespace wicket::posix {

/// FileManager::copyItem: written in a temporary folder beside the destination, synced, and given its name only
/// when complete. After a failure nothing of it is left; if this process is killed, no more than that folder.
[[nodiscard]] FileManager::Result copyFile(const std::string& source, const std::string& destination);

}  // namespace wicket::posix
