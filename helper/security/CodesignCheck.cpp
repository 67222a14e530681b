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
  std::shared_ptr<const Code> code;
  if (!codeReferencesFromAuditToken(services, connection, code)) return false;
  if (!verifyHardenedRuntime(*code)) return false;
  return verifyWithRequirementString(*code);
}

bool CodesignCheck::codeReferencesFromAuditToken(CodeSigningServices& services, const Connection& connection,
                                                 std::shared_ptr<const Code>& code) {
  code = services.identify(AuditToken::auditTokenDataFromNSXPCConnection(&connection)).value_or(nullptr);
  return code != nullptr;
}

bool CodesignCheck::verifyHardenedRuntime(const Code& code) {
  const auto information = code.signingInformation();
  if (!information) return false;
  InformationFacts facts(*information);
  const auto refusal = admission::firstRefusal(facts);
  if (refusal && information->entitlementsDict) endUnlessUnderstood(*refusal, *information->entitlementsDict);
  return !refusal;
}

bool CodesignCheck::verifyWithRequirementString(const Code& code) {
  const auto requirement = admission::requirementText(Identifier::wicket, SigningCertificate::commonName());
  return code.meets(requirement) == code_signing_status::success;
}

}  // namespace wicket
