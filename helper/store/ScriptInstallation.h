// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <expected>
#include <memory>
#include <optional>
#include <string>

#include "helper/platform/AuthorizationServices.h"
#include "helper/platform/FileManager.h"
#include "helper/platform/SourceFiles.h"

namespace wicket {

/// Puts a user's script into the script folder, in two steps around the question whether that may be done: what is
/// installed is what was there when the question was asked, and nothing is stored before its answer.
class ScriptInstallation {
 public:
  /// @p path holds the source and the destination, see TwoPathRequest. The file manager must outlive this.
  ScriptInstallation(FileManager& fileManager, std::string path) : fileManager_(fileManager), path_(std::move(path)) {}

  /// Opens the source, with the rights of the client whose call this is, and tells what is to be installed. What stands
  /// in the way of it is told as well, and then makes installScript() fail.
  [[nodiscard]] AuthorizationDetails prepare(SourceFiles& sourceFiles);

  /// To be called once, after the authorization was obtained. False at the first step that fails; what was done by
  /// then stays: an earlier copy is gone, a new folder is there, and a copy that could not be given to root keeps the
  /// attributes it was made with.
  [[nodiscard]] bool installScript();

 private:
  FileManager& fileManager_;
  const std::string path_;
  std::unique_ptr<SourceFile> source_;
};

}  // namespace wicket
