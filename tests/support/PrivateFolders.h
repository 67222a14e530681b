// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>
#include <vector>

namespace wicket::support {

/// Empty folders in place of the host's, for as long as this object lives. Only inside a private
/// namespace.
class PrivateFolders {
 public:
  PrivateFolders() = default;
  PrivateFolders(const PrivateFolders&) = delete;
  PrivateFolders& operator=(const PrivateFolders&) = delete;
  ~PrivateFolders();

  /// Mounts an empty file system of at most @p size ("1m"; empty: no limit) on the folder, which is made
  /// when it is missing.
  [[nodiscard]] bool replace(const std::string& folder, const std::string& size = {});

 private:
  std::vector<std::string> folders_;
};

}  // namespace wicket::support
