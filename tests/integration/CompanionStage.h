// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <optional>
#include <string>

namespace wicket::integration {

/// A private view of the file system in which the companion is installed as it is on a user's machine:
/// the group exists, and `wicket` belongs to it with its set-group-ID bit. The test program itself is
/// installed the same way and signed with the same identity, so that the helper lets in its clients.
class CompanionStage {
 public:
  /// Builds the stage and starts this program anew on it. Returns at once where that has happened, and
  /// with the reason where it cannot. Must run before a second thread exists.
  [[nodiscard]] static std::optional<std::string> enter(char** arguments);

  [[nodiscard]] static std::string helper();
  [[nodiscard]] static std::string command();
  [[nodiscard]] static std::string policy();

  /// Installs a copy of @p program as @p target, with the companion's signature, group and mode. False,
  /// with the reason on standard error, if that failed.
  [[nodiscard]] static bool installAsCompanion(const std::string& program, const std::string& target);
  /// Makes a file root's and the group's.
  [[nodiscard]] static bool giveGroup(const std::string& file, unsigned mode = 02755);
};

}  // namespace wicket::integration
