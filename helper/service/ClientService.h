// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "helper/clients/TimedConnections.h"
#include "helper/platform/Platform.h"
#include "helper/security/HelperAuthorization.h"
#include "protocol/HelperProtocol.h"

namespace wicket {

/// What a client may ask: carries out the calls of one connection. What a call says to the user goes to the newest
/// connection of the same user, and to nobody else's. Called on that connection's queue.
class ClientService final : public HelperProtocol {
 public:
  /// @p platform and @p connections must outlive the service.
  ClientService(Platform& platform, const TimedConnections& connections, UserIdentifier user);

  void getVersion(const VersionCompletion& completion) override;
  void installScript(const std::string& path, const AuthorizationData& authData,
                     const CodeCompletion& completion) override;
  void runCommand(const std::string& filename, const std::vector<std::string>& arguments,
                  const CodeCompletion& completion) override;
  void uninstall(bool all) override;
  void uninstallScriptAt(const std::string& path, const CodeCompletion& completion) override;
  void uninstallScriptWithFilename(const std::string& filename, const CodeCompletion& completion) override;

 private:
  [[nodiscard]] bool verifyAuthorization(const AuthorizationData& authData, const Selector& command,
                                         const HelperAuthorization::Details& details) const;
  [[nodiscard]] std::shared_ptr<Connection> newestConnection() const;

  Platform& platform_;
  const TimedConnections& connections_;
  const UserIdentifier user_;
  const std::string bashShebang_ = "#!/bin/bash";
};

}  // namespace wicket
