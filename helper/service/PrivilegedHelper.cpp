// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors

#include "helper/service/PrivilegedHelper.h"

#include <chrono>

#include "helper/clients/LogUtil.h"
#include "helper/security/CodesignCheck.h"
#include "helper/service/ClientService.h"
#include "protocol/Identifier.h"

namespace wicket {
namespace {

/// Of the main loop, which looks between two passes whether anybody is left.
constexpr std::chrono::seconds passDuration{45};

}  // namespace

PrivilegedHelper::PrivilegedHelper(Platform& platform)
    : platform_(platform),
      connections_(platform.mainQueue(), TimedConnection::usualInterval),
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
  connection->setExportedObject(
      std::make_shared<ClientService>(platform_, connections_, connection->effectiveUserIdentifier()));
  connection->setInvalidationHandler([helper = shared_from_this()] { helper->connectionWasInvalidated(); });
  connections_.add(connection);
  connection->resume();
  return true;
}

void PrivilegedHelper::connectionWasInvalidated() {
  connections_.remove();
  if (connections_.isEmpty()) shouldQuit_ = true;
}

}  // namespace wicket
