// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors

#include "helper/service/ClientService.h"

#include "helper/clients/LogUtil.h"
#include "helper/script/RunCommand.h"
#include "helper/service/HelperRemoval.h"
#include "helper/store/ScriptInstallation.h"
#include "helper/store/ScriptRemoval.h"
#include "protocol/HelperLines.h"

namespace wicket {

ClientService::ClientService(Platform& platform, const TimedConnections& connections, UserIdentifier user)
    : platform_(platform), connections_(connections), user_(user) {}

void ClientService::getVersion(const VersionCompletion& completion) {
  completion(platform_.mainBundle().stringValue("CFBundleVersion").value_or("0"));
}

void ClientService::installScript(const std::string& path, const AuthorizationData& authData,
                                  const CodeCompletion& completion) {
  ScriptInstallation installation(platform_.fileManager(), path);
  const auto details = [&] { return installation.prepare(platform_.sourceFiles()); };
  if (!verifyAuthorization(authData, helper_protocol::installScript, details)) {
    completion(reply_code::notAuthorized);
    return;
  }
  completion(installation.installScript() ? reply_code::success : reply_code::installationFailed);
}

bool ClientService::verifyAuthorization(const AuthorizationData& authData, const Selector& command,
                                        const HelperAuthorization::Details& details) const {
  const auto verified =
      HelperAuthorization::verifyAuthorization(platform_.authorizationServices(), authData, command, details);
  if (verified.has_value()) return true;
  LogUtil::log(HelperLines::authenticationFailed(verified.error().description()), newestConnection());
  return false;
}

std::shared_ptr<Connection> ClientService::newestConnection() const { return connections_.newestConnectionOf(user_); }

void ClientService::runCommand(const std::string& filename, const std::vector<std::string>& arguments,
                               const CodeCompletion& completion) {
  RunCommand::runTask(
      platform_.fileManager(), platform_.childProcessLauncher(), filename, arguments,
      [this] { return newestConnection(); }, completion);
}

void ClientService::uninstall(bool all) { HelperRemoval::uninstall(platform_, all, bashShebang_); }

void ClientService::uninstallScriptAt(const std::string& path, const CodeCompletion& completion) {
  completion(ScriptRemoval::uninstallScriptAt(platform_.fileManager(), path));
}

void ClientService::uninstallScriptWithFilename(const std::string& filename, const CodeCompletion& completion) {
  completion(ScriptRemoval::uninstallScriptWithFilename(platform_.fileManager(), filename));
}

}  // namespace wicket
