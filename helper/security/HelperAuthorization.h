// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "helper/platform/AuthorizationServices.h"
#include "helper/security/HelperAuthorizationError.h"
#include "helper/security/HelperAuthorizationRight.h"
#include "protocol/HelperProtocol.h"

namespace wicket {

/// The rights that the helper knows, and the proof that a client's user holds one. Any thread.
class HelperAuthorization {
 public:
  HelperAuthorization() = delete;

  /// Built once, on first use.
  [[nodiscard]] static const std::vector<HelperAuthorizationRight>& authorizationRights();
  /// A copy of the first right that guards @p command, if one does.
  [[nodiscard]] static std::optional<HelperAuthorizationRight> authorizationRight(const Selector& command);
  /// Rebuilds the client's authorization. @p data must have exactly the external form's length. The
  /// reference, which may be null, is kept for the life of the process: an authorization must not end
  /// while anybody may still rely on it.
  [[nodiscard]] static std::expected<std::shared_ptr<AuthorizationReference>, HelperAuthorizationError>
  authorizationRef(AuthorizationServices& services, std::span<const std::byte> data);
  /// Finds out what a question is about. Called at most once, and only for an authorization that exists: nothing of
  /// what a client names is touched on behalf of one that has none.
  using Details = std::function<AuthorizationDetails()>;
  /// Succeeds only if the user holds, or now obtains, the right that guards @p command. Blocks while
  /// the system asks the user, who is shown @p details.
  [[nodiscard]] static std::expected<void, HelperAuthorizationError> verifyAuthorization(
      AuthorizationServices& services, const HelperProtocol::AuthorizationData& authData, const Selector& command,
      const Details& details);
};

}  // namespace wicket
