// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>

#include "helper/platform/FileManager.h"
#include "helper/platform/SourceFiles.h"

namespace wicket::posix {

/// FileManager::copyItem: written without a name in the destination's folder, synced, and given its name only when
/// complete. After a failure nothing of it is left. On a system or file system without files that have no name it is
/// written in a temporary folder there, and if this process is killed, that is left.
[[nodiscard]] FileManager::Result copyFile(SourceFile& source, const std::string& destination);

}  // namespace wicket::posix
