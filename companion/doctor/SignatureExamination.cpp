// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/doctor/SignatureExamination.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <set>
#include <string_view>

#include "codesign/requirement/RequirementEvaluator.h"
#include "codesign/requirement/RequirementParser.h"
#include "codesign/signature/SignatureVerifier.h"

namespace wicket::companion::doctor {

namespace {

using codesign::CodeDirectory;
using codesign::PropertyValue;
using codesign::SignatureVerifier;
using codesign::SigningFailure;

/// Those that the helper looks at.
constexpr std::array<std::string_view, 3> doors{
    "com.apple.security.get-task-allow",
    "com.apple.security.cs.disable-library-validation",
    "com.apple.security.cs.allow-dyld-environment-variables",
};

SignatureFacts::State stateAfter(SigningFailure failure) {
  using State = SignatureFacts::State;
  switch (failure) {
    case SigningFailure::notSigned:
      return State::missing;
    case SigningFailure::anchorUnusable:
    case SigningFailure::chainNotToAnchor:
    case SigningFailure::certificateNotYetValid:
    case SigningFailure::intermediateIsNoAuthority:
    case SigningFailure::pathTooLong:
    case SigningFailure::leafNotForCodeSigning:
    case SigningFailure::criticalExtensionUnknown:
    case SigningFailure::algorithmTooWeak:
      return State::notTrusted;
    case SigningFailure::fileAltered:
    case SigningFailure::signatureWrong:
    case SigningFailure::coveredLengthWrong:
      return State::altered;
    default:
      return State::unreadable;
  }
}

enum class Door { shut, open, unclear };

/// A value that is no 64-bit integer ends the helper, so it is as bad as an open door.
Door doorOf(const PropertyValue& value) {
  if (const auto* const truth = value.as<bool>()) return *truth ? Door::open : Door::shut;
  if (const auto* const number = value.as<std::int64_t>()) return *number == 1 ? Door::open : Door::shut;
  const auto* const real = value.as<double>();
  constexpr double limit = 9223372036854775808.0;
  const bool isInteger = real != nullptr && *real >= -limit && *real < limit && std::trunc(*real) == *real;
  if (!isInteger) return Door::unclear;
  return *real == 1.0 ? Door::open : Door::shut;
}

std::vector<std::string> openDoorsIn(const codesign::PropertyDictionary& entitlements) {
  std::vector<std::string> open;
  for (const std::string_view name : doors) {
    const auto found = entitlements.find(name);
    if (found == entitlements.end()) continue;
    const Door door = doorOf(found->second);
    if (door != Door::shut)
      open.push_back(std::string(name) + (door == Door::unclear ? " (not a number: the helper ends at it)" : ""));
  }
  return open;
}

void describe(const CodeDirectory& directory, SignatureFacts& facts) {
  facts.isHardened = (directory.flags & CodeDirectory::runtimeFlag) != 0;
  facts.hasEntitlements = directory.entitlements.has_value();
  if (directory.entitlements) facts.openDoors = openDoorsIn(*directory.entitlements);
}

/// Without a bundle around the program there is no other information about it.
bool meets(const codesign::FileSignature& signature, const codesign::Certificate& anchor,
           const std::string& requirement) {
  const auto expression = codesign::RequirementParser::parse(requirement);
  if (!expression) return false;
  const codesign::PropertyDictionary none;
  const auto& entitlements = signature.directory.entitlements;
  const std::set<codesign::Sha256Digest> roots{anchor.sha256()};
  return codesign::isMet(
      *expression, {signature.directory.identifier, signature.chain, none, entitlements ? *entitlements : none, roots});
}

}  // namespace

SignatureFacts examineSignature(int descriptor, const codesign::Certificate& anchor, const std::string& requirement) {
  SignatureFacts facts;
  facts.requirement = requirement;
  const auto signature = SignatureVerifier::readSignature(descriptor, anchor);
  if (!signature) {
    facts.state = stateAfter(signature.error());
    facts.reason = codesign::textOf(signature.error());
    return facts;
  }
  describe(signature->directory, facts);
  facts.meetsRequirement = meets(*signature, anchor, requirement);
  const auto comparison =
      SignatureVerifier::compareDigest(descriptor, signature->directory, SignatureVerifier::usualMaximumLength);
  facts.state = comparison ? SignatureFacts::State::holds : stateAfter(comparison.error());
  if (!comparison) facts.reason = codesign::textOf(comparison.error());
  return facts;
}

}  // namespace wicket::companion::doctor
