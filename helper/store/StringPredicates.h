// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>
#include <string_view>

#include "helper/platform/FileManager.h"

namespace wicket {

/// Whether an extension, or the file at a path, is that of a script. Upper and lower case differ: "SH"
/// is no script's extension. The path predicates ask the disk first and accept folders too.
struct StringPredicates {
  [[nodiscard]] static bool isValidExtensionForApplescript(std::string_view extension);
  [[nodiscard]] static bool isValidExtensionForScript(std::string_view extension);
  [[nodiscard]] static bool isValidExtensionForScriptAsRoot(std::string_view extension);

  [[nodiscard]] static bool isValidPathForApplescript(FileManager& fileManager, const std::string& path);
  [[nodiscard]] static bool isValidPathForScript(FileManager& fileManager, const std::string& path);
  [[nodiscard]] static bool isValidPathForScriptAsRoot(FileManager& fileManager, const std::string& path);
};

}  // namespace wicket
