// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace wicket::support {

/// A view of the file system that nobody else sees: what a test mounts hides the host's folders from it,
/// and its changes never reach them.
class PrivateNamespace {
 public:
  /// Moves this process into a mount namespace of its own. Must run before a second thread exists. The
  /// reason when the kernel refuses.
  [[nodiscard]] static std::optional<std::string> enter();
  /// Shows the files in a private folder that no later mount hides, so that programs stay reachable
  /// wherever they were built. Their new paths in the same order; empty, with the reason on standard
  /// error, when that failed. Once per process.
  [[nodiscard]] static std::vector<std::string> keepReachable(const std::vector<std::string>& files);
};

}  // namespace wicket::support
