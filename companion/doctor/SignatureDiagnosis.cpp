// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/doctor/SignatureDiagnosis.h"

#include <algorithm>
#include <cstring>

#include "admission/Entitlements.h"
#include "base/text/DisplayText.h"
#include "companion/doctor/Shortage.h"

namespace wicket::companion::doctor {

namespace {

using admission::Refusal;

/// About a signature of which nothing is known.
Finding findingAboutFailure(const SignatureFacts& signature, const std::string& name) {
  const std::string start = "The signature of " + name + " could not be looked at: ";
  if (signature.error != 0) {
    return {"signature", false, start + std::strerror(signature.error), Shortage::nextStep(signature.error)};
  }
  return {"signature", false, start + signature.missingLibrary, "Install the package of that library"};
}

Finding findingAboutState(const SignatureFacts& signature, const std::string& name) {
  const std::string because = signature.reason.empty() ? std::string() : ": " + signature.reason;
  switch (signature.state) {
    case SignatureFacts::State::missing:
      return {"signature", false, name + " is not signed",
              "Use the installed wicket command, or sign it with wicket-codesign"};
    case SignatureFacts::State::unreadable:
      return {"signature", false, "The signature of " + name + " cannot be read" + because, "Install Wicket again"};
    case SignatureFacts::State::notTrusted:
      return {"signature", false, name + " is not signed by whom this build trusts" + because,
              "Install command and helper of the same build"};
    case SignatureFacts::State::altered:
      return {"signature", false, name + " has been altered since it was signed" + because,
              "Find out what altered it, then install Wicket again"};
    case SignatureFacts::State::holds:
      break;
  }
  return {"signature", true, "The program is signed and unaltered", {}};
}

bool contains(const std::vector<Refusal>& refusals, Refusal refusal) {
  return std::ranges::find(refusals, refusal) != refusals.end();
}

/// Those that let other code into the program.
std::string openDoors(const SignatureFacts& signature, const std::vector<Refusal>& refusals) {
  std::string doors;
  for (const auto& [refusal, name] : admission::problematicEntitlements) {
    if (!contains(refusals, refusal)) continue;
    doors += (doors.empty() ? "" : ", ") + std::string(name);
    if (admission::stateOf(*signature.entitlements, name) == admission::EntitlementState::noNumber)
      doors += " (not a number: the helper ends at it)";
  }
  return doors;
}

Finding findingAboutEntitlements(const SignatureFacts& signature, const std::vector<Refusal>& refusals) {
  if (contains(refusals, Refusal::withoutEntitlements)) {
    return {"entitlements", false, "The signature has no entitlements, not even an empty list",
            "Sign it again with --entitlements"};
  }
  const std::string doors = openDoors(signature, refusals);
  if (!doors.empty()) {
    return {"entitlements", false, "The signature lets other code into the program: " + doors,
            "Sign it again without these entitlements"};
  }
  return {"entitlements", true, "No entitlement lets other code into the program", {}};
}

}  // namespace

std::vector<Finding> diagnose(const SignatureFacts& signature, const std::vector<Refusal>& refusals,
                              const std::string& path) {
  if (signature.error != 0 || !signature.missingLibrary.empty())
    return {findingAboutFailure(signature, quotedText(path))};
  std::vector<Finding> findings{findingAboutState(signature, quotedText(path))};
  // What a stranger wrote into a signature says nothing.
  if (signature.state != SignatureFacts::State::holds && signature.state != SignatureFacts::State::altered) {
    return findings;
  }
  if (contains(refusals, Refusal::notHardened)) {
    findings.push_back({"runtime", false, "The program is signed without the hardened runtime",
                        "Sign it again with --options runtime"});
  } else {
    findings.push_back({"runtime", true, "The program is signed with the hardened runtime", {}});
  }
  findings.push_back(findingAboutEntitlements(signature, refusals));
  if (contains(refusals, Refusal::requirementNotMet)) {
    findings.push_back({"requirement", false,
                        "The signature does not meet the helper's requirement: " + signature.requirement,
                        "Sign it with that identifier and certificate"});
  } else {
    findings.push_back({"requirement", true, "The signature meets the helper's requirement", {}});
  }
  return findings;
}

}  // namespace wicket::companion::doctor
