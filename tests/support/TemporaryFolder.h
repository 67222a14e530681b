// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <filesystem>
#include <stdexcept>
#include <stdlib.h>
#include <string>
#include <system_error>

namespace wicket::support {

/// A new empty folder under the system's folder for temporary files, removed with its owner.
class TemporaryFolder {
 public:
  TemporaryFolder() : path_((std::filesystem::temp_directory_path() / "wicket-test-XXXXXX").string()) {
    if (::mkdtemp(path_.data()) == nullptr) throw std::runtime_error("cannot make " + path_);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] std::string path(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

}  // namespace wicket::support
