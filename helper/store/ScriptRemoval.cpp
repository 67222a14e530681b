// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "helper/store/ScriptRemoval.h"

#include "helper/store/TwoPathRequest.h"
#include "protocol/HelperPath.h"

namespace wicket {

ReplyCode ScriptRemoval::uninstallScriptPath(FileManager& fileManager, const std::string& path) {
  return fileManager.removeItem(path).has_value() ? reply_code::success : reply_code::removalFailed;
}

ReplyCode ScriptRemoval::uninstallScriptAt(FileManager& fileManager, const std::string& path) {
  const auto target = TwoPathRequest::destination(path);
  return target ? uninstallScriptPath(fileManager, *target) : reply_code::removalFailed;
}

ReplyCode ScriptRemoval::uninstallScriptWithFilename(FileManager& fileManager, const std::string& filename) {
  const std::string path = HelperPath::scriptFolderPrefix + filename;
  return fileManager.fileExists(path) ? uninstallScriptPath(fileManager, path) : reply_code::success;
}

}  // namespace wicket
