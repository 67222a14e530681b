// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "helper/security/CodesignCheck.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "helper/clients/FatalError.h"
#include "helper/security/AuditToken.h"
#include "helper/security/SigningCertificate.h"

namespace wicket {
namespace {

constexpr std::string_view companionIdentifier = "net.orvane.Wicket";

/// Each lets code into the companion that its maker has not signed.
constexpr std::array<std::string_view, 3> problematicEntitlements{
    "com.apple.security.get-task-allow",
    "com.apple.security.cs.disable-library-validation",
    "com.apple.security.cs.allow-dyld-environment-variables",
};

std::string requirementString() {
  std::string requirement = "anchor apple generic and identifier \"";
  requirement += companionIdentifier;
  requirement += "\" and certificate leaf[subject.CN] = \"";
  requirement += SigningCertificate::commonName();
  requirement += "\"";
  return requirement;
}

struct AsInteger {
  std::optional<std::int64_t> operator()(bool value) const { return value ? 1 : 0; }
  std::optional<std::int64_t> operator()(std::int64_t value) const { return value; }
  /// Only a whole number is an integer: nothing is rounded into harmlessness.
  std::optional<std::int64_t> operator()(double value) const {
    constexpr double limit = 9223372036854775808.0;
    const bool isRepresentable = value >= -limit && value < limit && std::trunc(value) == value;
    return isRepresentable ? std::optional(static_cast<std::int64_t>(value)) : std::nullopt;
  }
  std::optional<std::int64_t> operator()(NonNumericValue /*value*/) const { return std::nullopt; }
};

/// There is no fallback on purpose: a client whose entitlements mean something else than was foreseen
/// is neither served nor refused as if nothing had happened.
std::int64_t integerOf(const EntitlementsDictionary::value_type& entitlement) {
  const auto& [name, value] = entitlement;
  const auto integer = std::visit(AsInteger{}, value);
  if (!integer) fatalError("CodesignCheck", "The entitlement " + name + " is not a number.");
  return *integer;
}

bool isSet(const EntitlementsDictionary& entitlements, std::string_view name) {
  const auto found = entitlements.find(name);
  return found != entitlements.end() && integerOf(*found) == 1;
}

}  // namespace

bool CodesignCheck::isValid(CodeSigningServices& services, const Connection& connection) {
  std::shared_ptr<Code> code;
  std::shared_ptr<StaticCode> staticCode;
  if (!codeReferencesFromAuditToken(services, connection, code, staticCode)) return false;
  if (!verifyHardenedRuntime(services, *staticCode)) return false;
  return verifyWithRequirementString(services, *code);
}

bool CodesignCheck::codeReferencesFromAuditToken(CodeSigningServices& services, const Connection& connection,
                                                 std::shared_ptr<Code>& code, std::shared_ptr<StaticCode>& staticCode) {
  const AuditTokenData token = AuditToken::auditTokenDataFromConnection(&connection);
  const auto guest = services.copyGuestWithAttributes(token);
  if (!guest || *guest == nullptr) return false;
  code = *guest;
  staticCode = services.copyStaticCode(*code);
  return staticCode != nullptr;
}

bool CodesignCheck::verifyHardenedRuntime(CodeSigningServices& services, StaticCode& staticCode) {
  const auto information = services.copySigningInformation(staticCode, dynamicInformation);
  if (!information || !information->flags) return false;
  if ((*information->flags & codeSignatureRuntime) == 0) return false;
  if (!information->entitlementsDict) return false;
  for (const std::string_view name : problematicEntitlements) {
    if (isSet(*information->entitlementsDict, name)) return false;
  }
  return true;
}

bool CodesignCheck::verifyWithRequirementString(CodeSigningServices& services, Code& code) {
  const auto requirement = services.createRequirement(requirementString());
  // A null requirement would be met by everybody.
  if (!requirement || *requirement == nullptr) return false;
  return services.checkValidity(code, **requirement) == code_signing_status::success;
}

}  // namespace wicket
