// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>

#include "platform/FileManager.h"

namespace wicket {

/// Puts a user's script into the script folder. The caller has obtained the authorization.
struct ScriptInstallation {
  /// @p path holds the source and the destination, see TwoPathRequest. False at the first step that
  /// fails; what was done by then stays: an earlier copy is gone, a new folder is there, and a copy
  /// that could not be given to root keeps the attributes it was made with.
  [[nodiscard]] static bool installScript(FileManager& fileManager, const std::string& path);
};

}  // namespace wicket
