// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <expected>
#include <string>
#include <vector>

#include "base/text/Problem.h"

namespace wicket::companion {

/// A copy of a script in a folder that only its user can enter, under a path that the helper leaves as it
/// is. Copy and folder go away with the object.
class StagedScript {
 public:
  /// Where the folder may be made, best first: the user's runtime folder, then /tmp.
  [[nodiscard]] static std::vector<std::string> usualFolders();
  /// Folders whose path is not safe itself, or in which nothing can be made, are passed over.
  [[nodiscard]] static std::expected<StagedScript, Problem> copyOf(const std::string& path,
                                                                   const std::vector<std::string>& folders);
  /// Whether the helper would read the file under this very path: not when its clean-up changes the path,
  /// and not below /proc and /dev, where the path means another file in another process.
  [[nodiscard]] static bool isNeededFor(const std::string& path);

  StagedScript(StagedScript&& other) noexcept;
  StagedScript& operator=(StagedScript&&) = delete;
  StagedScript(const StagedScript&) = delete;
  StagedScript& operator=(const StagedScript&) = delete;
  ~StagedScript();

  [[nodiscard]] std::string path() const;

 private:
  explicit StagedScript(std::string folder) : folder_(std::move(folder)) {}

  std::string folder_;
};

}  // namespace wicket::companion
