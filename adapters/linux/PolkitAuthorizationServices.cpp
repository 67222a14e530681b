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

class ProcessReference : public AuthorizationReference {
 public:
  explicit ProcessReference(ProcessIdentity process) : process_(std::move(process)) {}
  [[nodiscard]] const ProcessIdentity& process() const { return process_; }

 private:
  const ProcessIdentity process_;
};

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
  auto process = ProcessIdentity::of(token->pid);
  if (!process || !process->matches(*token)) return std::unexpected(authorization_status::denied);
  return std::make_shared<ProcessReference>(std::move(*process));
}

AuthorizationStatus PolkitAuthorizationServices::copyRights(AuthorizationReference& reference,
                                                            const std::string& rightName) {
  constexpr AuthorizationStatus invalidReference = -60002;
  const auto* const holder = dynamic_cast<ProcessReference*>(&reference);
  if (holder == nullptr) return invalidReference;
  auto authority = PolkitAuthority::connect();
  if (!authority) return authority.error();
  const AuthorizationStatus status = authority->checkAuthorization(holder->process(), wire::polkitAction(rightName));
  // The answer holds for the process that was asked about, and for nobody who has its number now.
  return holder->process().isUnchanged() ? status : authorization_status::denied;
}

std::optional<std::string> PolkitAuthorizationServices::errorMessage(AuthorizationStatus status) {
  return authorizationStatusText(status);
}

}  // namespace wicket::linux_adapter
