// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "helper/store/ScriptInstallation.h"

#include <utility>

#include "helper/store/FilePath.h"
#include "helper/store/InstallationDetails.h"
#include "helper/store/ScriptRemoval.h"
#include "helper/store/TwoPathRequest.h"
#include "protocol/HelperPath.h"
#include "protocol/ReplyCode.h"

namespace wicket {
namespace {

constexpr FileAttributes folderAttributes{.permissions = 0755};
/// Root may read and execute it, and nobody may write.
constexpr FileAttributes scriptAttributes{.permissions = 0500};

/// An earlier copy is looked for in the script folder by its name alone, wherever the destination lies.
bool removeEarlierCopy(FileManager& fileManager, const std::string& destination) {
  const std::string existing = HelperPath::scriptFolderPrefix + std::string(FilePath::lastPathComponent(destination));
  if (!fileManager.fileExists(existing)) return true;
  return ScriptRemoval::uninstallScriptPath(fileManager, existing) == reply_code::success;
}

bool ensureScriptFolder(FileManager& fileManager) {
  const std::string folder = HelperPath::privilegedScriptFolder;
  return fileManager.fileExists(folder) || fileManager.createDirectory(folder, folderAttributes).has_value();
}

}  // namespace

AuthorizationDetails ScriptInstallation::prepare(SourceFiles& sourceFiles) {
  const auto source = TwoPathRequest::source(path_);
  const auto destination = TwoPathRequest::destination(path_);
  if (!source || !destination) return InstallationDetails::ofMalformed(path_);
  auto file = sourceFiles.open(*source);
  if (!file) return InstallationDetails::ofUnreadable(*source, *destination, file.error());
  source_ = std::move(*file);
  return InstallationDetails::of(*source, *destination, *source_);
}

bool ScriptInstallation::installScript() {
  const auto destination = TwoPathRequest::destination(path_);
  if (!TwoPathRequest::source(path_) || !destination) return false;

  return removeEarlierCopy(fileManager_, *destination) && ensureScriptFolder(fileManager_) && source_ != nullptr &&
         fileManager_.copyItem(*source_, *destination).has_value() &&
         fileManager_.setAttributes(*destination, scriptAttributes).has_value();
}

}  // namespace wicket
