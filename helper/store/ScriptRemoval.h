// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>

#include "helper/platform/FileManager.h"
#include "protocol/ReplyCode.h"

namespace wicket {

/// Removes installed scripts. Each operation returns 0, or 367 when it failed.
struct ScriptRemoval {
  /// Removes whatever is at @p path, a folder with its contents. Nothing there is a failure.
  [[nodiscard]] static ReplyCode uninstallScriptPath(FileManager& fileManager, const std::string& path);
  /// @p path is the string the script was installed with: its second path is removed, wherever it
  /// lies, and its first is ignored.
  [[nodiscard]] static ReplyCode uninstallScriptAt(FileManager& fileManager, const std::string& path);
  /// Joins the name to the script folder as it comes, neither cleaned nor checked. Nothing there is a
  /// success.
  [[nodiscard]] static ReplyCode uninstallScriptWithFilename(FileManager& fileManager, const std::string& filename);
};

}  // namespace wicket
