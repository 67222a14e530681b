// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/doctor/SignatureDiagnosis.h"

#include <cstring>

#include "base/text/DisplayText.h"
#include "companion/doctor/Shortage.h"

namespace wicket::companion::doctor {

namespace {

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

std::string joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

Finding findingAboutEntitlements(const SignatureFacts& signature) {
  if (!signature.hasEntitlements) {
    return {"entitlements", false, "The signature has no entitlements, not even an empty list",
            "Sign it again with --entitlements"};
  }
  if (!signature.openDoors.empty()) {
    return {"entitlements", false, "The signature lets other code into the program: " + joined(signature.openDoors),
            "Sign it again without these entitlements"};
  }
  return {"entitlements", true, "No entitlement lets other code into the program", {}};
}

}  // namespace

std::vector<Finding> diagnose(const SignatureFacts& signature, const std::string& path) {
  if (signature.error != 0 || !signature.missingLibrary.empty())
    return {findingAboutFailure(signature, quotedText(path))};
  std::vector<Finding> findings{findingAboutState(signature, quotedText(path))};
  // What a stranger wrote into a signature says nothing.
  if (signature.state != SignatureFacts::State::holds && signature.state != SignatureFacts::State::altered) {
    return findings;
  }
  if (signature.isHardened) {
    findings.push_back({"runtime", true, "The program is signed with the hardened runtime", {}});
  } else {
    findings.push_back({"runtime", false, "The program is signed without the hardened runtime",
                        "Sign it again with --options runtime"});
  }
  findings.push_back(findingAboutEntitlements(signature));
  if (signature.meetsRequirement) {
    findings.push_back({"requirement", true, "The signature meets the helper's requirement", {}});
  } else {
    findings.push_back({"requirement", false,
                        "The signature does not meet the helper's requirement: " + signature.requirement,
                        "Sign it with that identifier and certificate"});
  }
  return findings;
}

}  // namespace wicket::companion::doctor
