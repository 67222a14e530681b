// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include "adapters/linux/authorization/PolkitAuthority.h"
#include "helper/platform/AuthorizationServices.h"

namespace wicket::linux_adapter {

/// Authorization by polkit. The external form names the client's process; the right's name becomes a
/// polkit action, and polkit decides whether that process's user may do it. Besides the details that it is given, a
/// question shows that user, as "user".
class PolkitAuthorizationServices : public AuthorizationServices {
 public:
  std::expected<std::shared_ptr<AuthorizationReference>, AuthorizationStatus> createFromExternalForm(
      const AuthorizationExternalForm& form) override;
  AuthorizationStatus copyRights(AuthorizationReference& reference, const std::string& rightName,
                                 const AuthorizationDetails& details) override;
  std::optional<std::string> errorMessage(AuthorizationStatus status) override;

 private:
  PolkitAuthority authority_;
};

}  // namespace wicket::linux_adapter
