// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors

#include "helper/PrivilegedHelper.h"

#include <chrono>

#include "clients/LogUtil.h"
#include "helper/HelperRemoval.h"
#include "script/RunCommand.h"
#include "security/CodesignCheck.h"
#include "security/HelperAuthorization.h"
#include "store/Identifier.h"
#include "store/ScriptInstallation.h"
#include "store/ScriptRemoval.h"

namespace wicket {
namespace {

constexpr double connectionInterval = 45.0;
constexpr std::chrono::seconds passDuration{45};

}  // namespace

PrivilegedHelper::PrivilegedHelper(Platform& platform)
    : platform_(platform),
      connections_(platform.mainQueue(), connectionInterval),
      listener_(platform.makeListener(Identifier::privilegedHelper)) {
  listener_->setDelegate(*this);
  LogUtil::log(platform_.unifiedLog(), "TlvPrivilegedHelper was initialized...", "");
}

void PrivilegedHelper::run() {
  listener_->resume();
  while (!shouldQuit_) platform_.mainQueue().run(passDuration);
  listener_->finish();
}

bool PrivilegedHelper::shouldAcceptNewConnection(const std::shared_ptr<Connection>& connection) {
  if (!CodesignCheck::isValid(platform_.codeSigningServices(), *connection)) return false;
  connection->setRemoteObjectInterface(app_protocol::interface);
  connection->setExportedInterface(helper_protocol::interface);
  connection->setExportedObject(*this);
  connection->setInvalidationHandler([helper = shared_from_this()] { helper->connectionWasInvalidated(); });
  connections_.add(connection);
  connection->resume();
  return true;
}

void PrivilegedHelper::connectionWasInvalidated() {
  connections_.remove();
  if (connections_.isEmpty()) shouldQuit_ = true;
}

void PrivilegedHelper::getVersion(const VersionCompletion& completion) {
  completion(platform_.mainBundle().stringValue("CFBundleVersion").value_or("0"));
}

void PrivilegedHelper::installScript(const std::string& path, const AuthorizationData& authData,
                                     const CodeCompletion& completion) {
  if (!verifyAuthorization(authData, helper_protocol::installScript)) {
    completion(reply_code::notAuthorized);
    return;
  }
  const bool installed = ScriptInstallation::installScript(platform_.fileManager(), path);
  completion(installed ? reply_code::success : reply_code::installationFailed);
}

bool PrivilegedHelper::verifyAuthorization(const AuthorizationData& authData, const Selector& command) {
  const auto verified = HelperAuthorization::verifyAuthorization(platform_.authorizationServices(), authData, command);
  if (verified.has_value()) return true;
  LogUtil::log("ERROR: Authentication failed with " + verified.error().description(), connections_.newestConnection());
  return false;
}

void PrivilegedHelper::runCommand(const std::string& filename, const std::vector<std::string>& arguments,
                                  const CodeCompletion& completion) {
  RunCommand::runTask(
      platform_.fileManager(), platform_.childProcessLauncher(), filename, arguments,
      [this] { return connections_.newestConnection(); }, completion);
}

void PrivilegedHelper::uninstall(bool all) { HelperRemoval::uninstall(platform_, all, bashShebang_); }

void PrivilegedHelper::uninstallScriptAt(const std::string& path, const CodeCompletion& completion) {
  completion(ScriptRemoval::uninstallScriptAt(platform_.fileManager(), path));
}

void PrivilegedHelper::uninstallScriptWithFilename(const std::string& filename, const CodeCompletion& completion) {
  completion(ScriptRemoval::uninstallScriptWithFilename(platform_.fileManager(), filename));
}

}  // namespace wicket
