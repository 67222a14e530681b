// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/PolkitAuthorizationServices.h"

#include <utility>

#include "adapters/linux/AuthorizationStatusText.h"
#include "adapters/linux/CallingClient.h"
#include "adapters/linux/PolkitAuthority.h"
#include "adapters/linux/ProcessIdentity.h"
#include "wire/AuthorizationToken.h"
#include "wire/PolkitAction.h"

namespace wicket::linux_adapter {
namespace {

/// Names the process and does not hold it: thousands of references may be kept, and a pidfd is a descriptor.
class ProcessReference : public AuthorizationReference {
 public:
  explicit ProcessReference(const wire::AuthorizationToken& token) : token_(token) {}
  /// None once that process has ended.
  [[nodiscard]] std::optional<ProcessIdentity> process() const { return processNamedBy(token_); }

  [[nodiscard]] static std::optional<ProcessIdentity> processNamedBy(const wire::AuthorizationToken& token) {
    auto process = ProcessIdentity::of(token.pid);
    return process && process->matches(token) ? std::move(process) : std::nullopt;
  }

 private:
  const wire::AuthorizationToken token_;
};
static_assert(sizeof(ProcessReference) <= 64);

/// A client may be authorized as itself only: everybody can name a process of root, to whom polkit
/// grants all. A client that is root needs no such trick. Outside a client's call nobody may be named.
bool mayBeNamedByTheCaller(const wire::AuthorizationToken& token) {
  const auto client = CallingClient::current();
  if (!client) return false;
  if (client->uid == 0) return true;
  return std::cmp_equal(client->pid, token.pid) && client->uid == token.uid;
}

}  // namespace

std::expected<std::shared_ptr<AuthorizationReference>, AuthorizationStatus>
PolkitAuthorizationServices::createFromExternalForm(const AuthorizationExternalForm& form) {
  const auto token = wire::AuthorizationToken::parse(form);
  if (!token || !mayBeNamedByTheCaller(*token)) return std::unexpected(authorization_status::denied);
  if (!ProcessReference::processNamedBy(*token)) return std::unexpected(authorization_status::denied);
  return std::make_shared<ProcessReference>(*token);
}

AuthorizationStatus PolkitAuthorizationServices::copyRights(AuthorizationReference& reference,
                                                            const std::string& rightName,
                                                            const AuthorizationDetails& /*details*/) {
  constexpr AuthorizationStatus invalidReference = -60002;
  const auto* const holder = dynamic_cast<ProcessReference*>(&reference);
  if (holder == nullptr) return invalidReference;
  const auto process = holder->process();
  if (!process) return authorization_status::denied;
  auto authority = PolkitAuthority::connect();
  if (!authority) return authority.error();
  const AuthorizationStatus status = authority->checkAuthorization(*process, wire::polkitAction(rightName));
  // The answer holds for the process that was asked about, and for nobody who has its number now.
  return process->isUnchanged() ? status : authorization_status::denied;
}

std::optional<std::string> PolkitAuthorizationServices::errorMessage(AuthorizationStatus status) {
  return authorizationStatusText(status);
}

}  // namespace wicket::linux_adapter
