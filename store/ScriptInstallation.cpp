// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "store/ScriptInstallation.h"

#include "protocol/ReplyCode.h"
#include "store/FilePath.h"
#include "store/HelperPath.h"
#include "store/ScriptRemoval.h"
#include "store/TwoPathRequest.h"

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

bool ScriptInstallation::installScript(FileManager& fileManager, const std::string& path) {
  const auto source = TwoPathRequest::source(path);
  if (!source) return false;
  const auto destination = TwoPathRequest::destination(path);
  if (!destination) return false;

  return removeEarlierCopy(fileManager, *destination) && ensureScriptFolder(fileManager) &&
         fileManager.copyItem(*source, *destination).has_value() &&
         fileManager.setAttributes(*destination, scriptAttributes).has_value();
}

}  // namespace wicket
