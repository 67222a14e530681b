// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "helper/script/RunCommand.h"

#include <optional>

#include "helper/clients/LogUtil.h"
#include "helper/script/PrivilegedScript.h"
#include "protocol/HelperLines.h"
#include "protocol/HelperPath.h"

namespace wicket {

void RunCommand::runTask(FileManager& fileManager, ChildProcessLauncher& launcher, const std::string& filename,
                         const std::vector<std::string>& arguments, const LastConnection& lastConnection,
                         const HelperProtocol::CodeCompletion& completion) {
  const std::string path = HelperPath::scriptFolderPrefix + filename;
  if (!fileManager.fileExists(path)) {
    LogUtil::log(HelperLines::scriptNotFound(filename), lastConnection());
    completion(reply_code::scriptNotFound);
    return;
  }

  const auto script = PrivilegedScript::create(fileManager, launcher, path, arguments, std::nullopt, lastConnection());
  if (!script) {
    LogUtil::log(HelperLines::privilegedScriptUnreadable(path), lastConnection());
    completion(reply_code::scriptUnreadable);
    return;
  }
  script->execute(completion);
}

}  // namespace wicket
