// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include "helper/platform/AuthorizationServices.h"

namespace wicket::macos_adapter {

/// The Authorization Services of the Security framework. An authorization that was made here is never freed.
class MacAuthorizationServices final : public AuthorizationServices {
 public:
  std::expected<std::shared_ptr<AuthorizationReference>, AuthorizationStatus> createFromExternalForm(
      const AuthorizationExternalForm& form) override;
  AuthorizationStatus copyRights(AuthorizationReference& reference, const std::string& rightName,
                                 const AuthorizationDetails& details) override;
  std::optional<std::string> errorMessage(AuthorizationStatus status) override;
};

}  // namespace wicket::macos_adapter
