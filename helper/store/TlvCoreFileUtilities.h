// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <optional>
#include <string>

#include "helper/platform/FileManager.h"

namespace wicket {

class TlvCoreFileUtilities {
 public:
  /// Whether anything exists at @p path; without a path the disk is not asked.
  [[nodiscard]] static bool isValid(FileManager& fileManager, const std::optional<std::string>& path) {
    return path.has_value() && fileManager.fileExists(*path);
  }
};

}  // namespace wicket
