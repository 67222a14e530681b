// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>

#include "helper/platform/FileManager.h"

namespace wicket {

/// The files of a POSIX system. Keeps no state of its own.
class PosixFileManager : public FileManager {
 public:
  [[nodiscard]] bool fileExists(const std::string& path) override;
  [[nodiscard]] Result createDirectory(const std::string& path, const FileAttributes& attributes) override;
  [[nodiscard]] Result copyItem(SourceFile& source, const std::string& destination) override;
  [[nodiscard]] Result setAttributes(const std::string& path, const FileAttributes& attributes) override;
  [[nodiscard]] Result removeItem(const std::string& path) override;
  [[nodiscard]] std::expected<std::string, FileError> readFile(const std::string& path) override;
};

}  // namespace wicket
