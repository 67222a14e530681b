// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/doctor/SignatureExamination.h"

#include <set>

#include "codesign/requirement/RequirementEvaluator.h"
#include "codesign/requirement/RequirementParser.h"
#include "codesign/signature/SignatureVerifier.h"

namespace wicket::companion::doctor {

namespace {

using codesign::CodeDirectory;
using codesign::SignatureVerifier;
using codesign::SigningFailure;

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

void describe(const CodeDirectory& directory, SignatureFacts& facts) {
  facts.flags = directory.flags;
  if (directory.entitlements) facts.entitlements = admission::entitlementsFrom(*directory.entitlements);
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
