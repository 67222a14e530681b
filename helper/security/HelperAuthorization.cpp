// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors

#include "helper/security/HelperAuthorization.h"

#include <algorithm>
#include <deque>
#include <mutex>
#include <utility>

#include "protocol/Identifier.h"

namespace wicket {
namespace {

using Reference = std::shared_ptr<AuthorizationReference>;

/// References are kept until the process ends.
void retain(Reference reference) {
  static auto& mutex = *new std::mutex;  // never destroyed: threads may outlive main
  static auto& retained = *new std::deque<Reference>;
  const std::lock_guard lock(mutex);
  retained.push_back(std::move(reference));
}

std::unexpected<HelperAuthorizationError> failure(std::string text) {
  return std::unexpected(HelperAuthorizationError{std::move(text)});
}

std::unexpected<HelperAuthorizationError> failure(AuthorizationServices& services, AuthorizationStatus status) {
  const auto text = services.errorMessage(status);
  return failure(text.has_value() ? "Optional(" + *text + ")" : "nil");
}

/// A name with an embedded NUL would end early as a C string and thereby name another right.
bool isConvertibleToCString(const std::string& name) { return name.find('\0') == std::string::npos; }

}  // namespace

const std::vector<HelperAuthorizationRight>& HelperAuthorization::authorizationRights() {
  static const auto& rights = *new std::vector<HelperAuthorizationRight>{{
      .command = helper_protocol::installScript,
      .name = std::string(Identifier::privilegedHelper) + "." + std::string(helper_protocol::installScript.text),
      .description = "Tolvern wants to install a privileged script in a safe location.",
      .ruleCustom = HelperAuthorizationRight::Rule{{"class", "user"}, {"group", "admin"}, {"version", 1}},
      .ruleConstant = std::nullopt,
  }};
  return rights;
}

std::optional<HelperAuthorizationRight> HelperAuthorization::authorizationRight(const Selector& command) {
  const auto& rights = authorizationRights();
  const auto found = std::ranges::find(rights, command, &HelperAuthorizationRight::command);
  if (found == rights.end()) return std::nullopt;
  return *found;
}

std::expected<Reference, HelperAuthorizationError> HelperAuthorization::authorizationRef(
    AuthorizationServices& services, std::span<const std::byte> data) {
  AuthorizationExternalForm form{};
  std::ranges::copy(data, form.begin());
  auto reference = services.createFromExternalForm(form);
  if (!reference.has_value()) return failure(services, reference.error());
  retain(*reference);
  return *reference;
}

std::expected<void, HelperAuthorizationError> HelperAuthorization::verifyAuthorization(
    AuthorizationServices& services, const HelperProtocol::AuthorizationData& authData, const Selector& command,
    const Details& details) {
  if (!authData.has_value() || authData->size() != authorizationExternalFormLength) {
    return failure("Invalid Authorization External Form Data");
  }
  const auto reference = authorizationRef(services, *authData);
  if (!reference.has_value()) return std::unexpected(reference.error());
  if (*reference == nullptr) {
    return failure("Failed to convert the Authorization External Form to an Authorization Reference");
  }
  const auto right = authorizationRight(command);
  if (!right.has_value()) {
    return failure("Failed to get the correct authorization right for command: " + std::string(command.text));
  }
  if (!isConvertibleToCString(right->name)) return failure("Failed to convert authorization name to cString");

  const auto status = services.copyRights(**reference, right->name, details());
  if (status != authorization_status::success) return failure(services, status);
  return {};
}

}  // namespace wicket
