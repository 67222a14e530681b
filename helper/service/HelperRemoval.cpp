// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors

#include "helper/service/HelperRemoval.h"

#include <optional>
#include <tuple>
#include <vector>

#include "helper/script/PrivilegedScript.h"
#include "protocol/HelperPath.h"

namespace wicket {
namespace {

void removeScriptFolder(FileManager& fileManager) {
  if (!fileManager.fileExists(HelperPath::privilegedScriptFolder)) return;
  std::ignore = fileManager.removeItem(HelperPath::privilegedScriptFolder);
}

void removeJob(Platform& platform, const std::string& bashShebang) {
  const std::vector<std::string> arguments{"-c", platform.serviceJob().removalCommandLine()};
  const auto script = PrivilegedScript::create(platform.fileManager(), platform.childProcessLauncher(), std::nullopt,
                                               arguments, bashShebang, nullptr);
  if (script == nullptr) return;
  std::ignore = script->execute();
}

}  // namespace

void HelperRemoval::uninstall(Platform& platform, bool all, const std::string& bashShebang) {
  if (all) removeScriptFolder(platform.fileManager());
  removeJob(platform, bashShebang);
}

}  // namespace wicket
