// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "helper/security/CodesignCheck.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>

#include "admission/Checks.h"
#include "admission/Requirement.h"
#include "helper/clients/FatalError.h"
#include "helper/security/AuditToken.h"
#include "helper/security/SigningCertificate.h"
#include "protocol/Identifier.h"

namespace wicket {
namespace {

using admission::Refusal;

class InformationFacts final : public admission::SignatureFacts {
 public:
  explicit InformationFacts(const SigningInformation& information) : information_(information) {}
  std::optional<std::uint32_t> flags() override { return information_.flags; }
  const std::optional<EntitlementsDictionary>& entitlements() override { return information_.entitlementsDict; }

 private:
  const SigningInformation& information_;
};

/// There is no fallback on purpose: a client whose entitlements mean something else than was foreseen
/// is neither served nor refused as if nothing had happened.
void endUnlessUnderstood(Refusal refusal, const EntitlementsDictionary& entitlements) {
  const auto* const entitlement =
      std::ranges::find(admission::problematicEntitlements, refusal, &admission::ProblematicEntitlement::refusal);
  if (entitlement == admission::problematicEntitlements.end()) return;
  if (admission::stateOf(entitlements, entitlement->name) != admission::EntitlementState::noNumber) return;
  fatalError("CodesignCheck", "The entitlement " + std::string(entitlement->name) + " is not a number.");
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
  if (!information) return false;
  InformationFacts facts(*information);
  const auto refusal = admission::firstRefusal(facts);
  if (refusal && information->entitlementsDict) endUnlessUnderstood(*refusal, *information->entitlementsDict);
  return !refusal;
}

bool CodesignCheck::verifyWithRequirementString(CodeSigningServices& services, Code& code) {
  const auto requirement =
      services.createRequirement(admission::requirementText(Identifier::wicket, SigningCertificate::commonName()));
  // A null requirement would be met by everybody.
  if (!requirement || *requirement == nullptr) return false;
  return services.checkValidity(code, **requirement) == code_signing_status::success;
}

}  // namespace wicket
