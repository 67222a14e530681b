// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/authorization/PolkitAuthorizationServices.h"

#include <cerrno>
#include <utility>

#include "adapters/linux/authorization/AuthorizationStatusText.h"
#include "adapters/linux/authorization/UserInWords.h"
#include "adapters/linux/peer/CallingClient.h"
#include "adapters/linux/peer/ProcessIdentity.h"
#include "base/system/linux/Pidfd.h"
#include "base/system/linux/Shortage.h"
#include "wire/AuthorizationToken.h"
#include "wire/PolkitAction.h"

namespace wicket::linux_adapter {
namespace {

/// No descriptor for a look at a process is no word about that process.
AuthorizationStatus statusOfMissing(int error) {
  return isShortage(error) ? authorization_status::internal : authorization_status::denied;
}

/// Denied once that process has ended.
std::expected<ProcessIdentity, AuthorizationStatus> processNamedBy(const wire::AuthorizationToken& token) {
  auto process = ProcessIdentity::of(token.pid);
  if (!process) return std::unexpected(statusOfMissing(process.error()));
  if (!process->matches(token)) return std::unexpected(authorization_status::denied);
  return *std::move(process);
}

/// Names the process and does not hold it: thousands of references may be kept, and a pidfd is a descriptor.
class ProcessReference : public AuthorizationReference {
 public:
  explicit ProcessReference(const wire::AuthorizationToken& token) : token_(token) {}
  [[nodiscard]] const wire::AuthorizationToken& token() const { return token_; }

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

/// The client on whose behalf this thread asks, where it is another process than the one that it asks about; otherwise
/// not open. Denied once it has ended.
std::expected<Pidfd, AuthorizationStatus> askerBesides(const ProcessIdentity& subject) {
  const auto client = CallingClient::current();
  if (!client || std::cmp_equal(client->pid, subject.pid())) return Pidfd(Descriptor());
  Pidfd asker = Pidfd::open(client->pid);
  if (!asker.isOpen()) return std::unexpected(statusOfMissing(errno));
  return asker;
}

AuthorizationDetails withUser(AuthorizationDetails details, uid_t user) {
  details.push_back({"user", userInWords(user)});
  return details;
}

}  // namespace

std::expected<std::shared_ptr<AuthorizationReference>, AuthorizationStatus>
PolkitAuthorizationServices::createFromExternalForm(const AuthorizationExternalForm& form) {
  const auto token = wire::AuthorizationToken::parse(form);
  if (!token || !mayBeNamedByTheCaller(*token)) return std::unexpected(authorization_status::denied);
  if (const auto process = processNamedBy(*token); !process) return std::unexpected(process.error());
  // Where nobody can be asked nothing has to be found out for a question.
  if (const auto conversation = authority_.conversation(); !conversation) return std::unexpected(conversation.error());
  return std::make_shared<ProcessReference>(*token);
}

AuthorizationStatus PolkitAuthorizationServices::copyRights(AuthorizationReference& reference,
                                                            const std::string& rightName,
                                                            const AuthorizationDetails& details) {
  constexpr AuthorizationStatus invalidReference = -60002;
  const auto* const holder = dynamic_cast<ProcessReference*>(&reference);
  if (holder == nullptr) return invalidReference;
  const auto process = processNamedBy(holder->token());
  if (!process) return process.error();
  const auto asker = askerBesides(*process);
  if (!asker) return asker.error();
  const auto conversation = authority_.conversation();
  if (!conversation) return conversation.error();
  PolkitTerms terms{.subject = *process,
                    .asker = asker->get(),
                    .action = wire::polkitAction(rightName),
                    .details = withUser(details, process->uid())};
  const AuthorizationStatus status = (*conversation)->ask(std::move(terms));
  // The answer holds for the process that was asked about, and for nobody who has its number now.
  const auto confirmed = process->confirm();
  return confirmed ? status : statusOfMissing(confirmed.error());
}

std::optional<std::string> PolkitAuthorizationServices::errorMessage(AuthorizationStatus status) {
  return authorizationStatusText(status);
}

}  // namespace wicket::linux_adapter
