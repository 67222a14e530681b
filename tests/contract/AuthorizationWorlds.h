// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <utility>

#include "adapters/linux/authorization/PolkitAuthorizationServices.h"
#include "adapters/linux/peer/CallingClient.h"
#include "adapters/linux/peer/ProcessIdentity.h"
#include "tests/doubles/ScriptedAuthorizationServices.h"
#include "tests/support/Machine.h"
#include "tests/support/PolkitAgent.h"
#include "tests/support/PolkitSandbox.h"
#include "tests/support/PrivateFolders.h"
#include "tests/support/PrivateNamespace.h"
#include "tests/support/UserProcess.h"
#include "wire/AuthorizationToken.h"

namespace wicket::contract {

inline constexpr char installRight[] = "net.orvane.Wicket.TlvPrivilegedHelper.installScriptAt:authData:completion:";

/// How the system, or the user in front of it, decides about a request.
enum class Decision { grant, deny, userAuthenticates, userFails, userDismisses, nobodyToAsk };

/// Services with a live client, and the power over who decides what.
class AuthorizationWorld {
 public:
  AuthorizationWorld() = default;
  AuthorizationWorld(const AuthorizationWorld&) = delete;
  AuthorizationWorld& operator=(const AuthorizationWorld&) = delete;
  virtual ~AuthorizationWorld() = default;

  virtual AuthorizationServices& services() = 0;
  /// Of a client that lives.
  virtual AuthorizationExternalForm form() = 0;
  virtual void endClient() = 0;
  virtual void decide(Decision decision) = 0;
};

class ScriptedWorld : public AuthorizationWorld {
 public:
  static constexpr std::array<support::Need, 0> needs{};

  AuthorizationServices& services() override { return services_; }
  AuthorizationExternalForm form() override { return {}; }
  void endClient() override { services_.setCreationStatus(authorization_status::denied); }
  void decide(Decision decision) override { services_.setRightsStatus(statusFor(decision)); }

 private:
  static AuthorizationStatus statusFor(Decision decision) {
    switch (decision) {
      case Decision::grant:
      case Decision::userAuthenticates:
        return authorization_status::success;
      case Decision::userDismisses:
        return authorization_status::canceled;
      case Decision::nobodyToAsk:
        return authorization_status::interactionNotAllowed;
      case Decision::deny:
      case Decision::userFails:
        break;
    }
    return authorization_status::denied;
  }

  doubles::ScriptedAuthorizationServices services_;
};

/// The real polkit in a private namespace; its client is a process of an ordinary user.
class PolkitWorld : public AuthorizationWorld {
 public:
  static constexpr std::array needs{support::Need::root, support::Need::mountNamespace};

  PolkitWorld() {
    if (const auto reason = support::PrivateNamespace::enter()) throw std::runtime_error(*reason);
    if (!folders_.replace("/run")) throw std::runtime_error("/run cannot be replaced");
    startPolkit();
  }

  AuthorizationServices& services() override { return services_; }
  AuthorizationExternalForm form() override { return token().serialize(); }
  void endClient() override { client_.end(); }
  void decide(Decision decision) override {
    sandbox_->setAnswer(decision == Decision::grant ? "yes" : decision == Decision::deny ? "no" : "default");
    if (decision == Decision::userAuthenticates) startAgent(support::PolkitAgent::Behaviour::authenticates);
    if (decision == Decision::userFails) startAgent(support::PolkitAgent::Behaviour::failsToAuthenticate);
    if (decision == Decision::userDismisses) startAgent(support::PolkitAgent::Behaviour::dismisses);
  }

  void startAgent(support::PolkitAgent::Behaviour behaviour) {
    agent_ = support::PolkitAgent::start(client_.pid(), behaviour);
    if (agent_ == nullptr) throw std::runtime_error("polkit refused the agent");
  }
  [[nodiscard]] wire::AuthorizationToken token() const {
    const auto client = linux_adapter::ProcessIdentity::of(static_cast<std::uint32_t>(client_.pid()));
    if (!client) throw std::runtime_error("the client does not live");
    return {client->pid(), client->uid(), client->startTime(), client->pidfdInode()};
  }
  [[nodiscard]] support::UserProcess& client() { return client_; }
  [[nodiscard]] support::PolkitAgent& agent() { return *agent_; }
  void startPolkit() {
    sandbox_ = support::PolkitSandbox::start(WICKET_POLICY);
    if (sandbox_ == nullptr) throw std::runtime_error("polkit was not started");
  }
  /// And the bus with it.
  void endPolkit() { sandbox_.reset(); }

 private:
  support::PrivateFolders folders_;
  std::unique_ptr<support::PolkitSandbox> sandbox_;
  support::UserProcess client_;
  std::unique_ptr<support::PolkitAgent> agent_;
  // The calls of these tests come from root, who may name any client.
  const linux_adapter::CallingClient::Scope caller_{{::getpid(), 0}};
  linux_adapter::PolkitAuthorizationServices services_;
};

}  // namespace wicket::contract
