// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <optional>
#include <string>

namespace wicket::integration {

/// How a program is signed; as it stands, as the companion is.
struct Signing {
  std::string identifier = "net.orvane.Wicket";
  std::string key{};           ///< a PEM file; empty: the companion's
  std::string certificates{};  ///< the same
  /// A property list; empty: the companion's. None: a signature without entitlements.
  std::optional<std::string> entitlements = "";
  bool isHardened = true;
};

/// A private view of the file system in which the companion is installed as it is on a user's machine:
/// the group exists, and `wicket` belongs to it with its set-group-ID bit. The test program itself is
/// installed the same way and signed with the same identity, so that the helper lets in its clients.
class CompanionStage {
 public:
  /// Builds the stage and starts this program anew on it. Returns at once where that has happened, and
  /// with the reason where it failed. Must run before a second thread exists.
  [[nodiscard]] static std::optional<std::string> enter(char** arguments);

  [[nodiscard]] static std::string helper();
  [[nodiscard]] static std::string command();
  [[nodiscard]] static std::string policy();
  /// A client that does as it is told, as it was built: unsigned, with an ordinary mode.
  [[nodiscard]] static std::string standIn();
  /// A library that leaves the file /var/tmp/intruder.was.here in whatever loads it.
  [[nodiscard]] static std::string intruder();
  /// Makes the kernel look older to the program in its arguments.
  [[nodiscard]] static std::string olderKernel();
  /// The script that makes identities.
  [[nodiscard]] static std::string identityMaker();
  /// A file of the authority below the root that the helper trusts: its certificate, .pem, or its key,
  /// .key. None where the companion is signed with an identity whose authority is somebody else's.
  [[nodiscard]] static std::optional<std::string> authority(const std::string& suffix);

  /// Installs a copy of @p program as @p target, with the companion's group and mode and that signature.
  /// False, with the reason on standard error, if that failed.
  [[nodiscard]] static bool installAsCompanion(const std::string& program, const std::string& target,
                                               const Signing& signing = {});
  /// The same without any signature.
  [[nodiscard]] static bool installUnsigned(const std::string& program, const std::string& target);
  /// Makes a file root's and the group's.
  [[nodiscard]] static bool giveGroup(const std::string& file, unsigned mode = 02755);
  [[nodiscard]] static std::string groupNumber();
};

}  // namespace wicket::integration
