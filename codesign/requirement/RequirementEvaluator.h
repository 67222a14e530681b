// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <set>
#include <string_view>

#include "codesign/certificate/Certificate.h"
#include "codesign/plist/PropertyValue.h"
#include "codesign/requirement/RequirementExpression.h"

namespace wicket::codesign {

/// What a requirement is held against. Everything in it must come from a signature that has been
/// verified, and live until the answer is there.
struct RequirementContext {
  std::string_view identifier;
  const CertificateChain& chain;  ///< of the certificate that signed
  const PropertyDictionary& information;
  const PropertyDictionary& entitlements;
  const std::set<Sha256Digest>& appleRoots;  ///< SHA-256 of the certificates that count as Apple's roots
};

/// Whether @p expression holds. Any thread.
///
/// Texts are compared byte by byte. A certificate that the chain is too short for meets no condition,
/// and neither does an attribute of its subject, an extension or a policy that it does not have: even
/// "absent" is false then. In the information and the entitlements "absent" is true of what is not
/// there, and "exists" of anything there but the truth value false. An array meets a comparison that
/// one of its elements meets. "<" and its like let digits count as numbers (numericOrder).
///
/// - "anchor apple generic": the chain's last certificate is one of the Apple roots.
/// - "anchor apple": moreover the leaf is the one that signs the system's own software, that is its
///   common name is "Software Signing".
/// - "trusted": the roots are all that is trusted here. "certificate trusted" asks that of the chain's
///   last certificate, "certificate SLOT trusted" of the one named.
/// - Never met, as no program that is signed here has what they ask for: "cdhash", "platform",
///   "notarized", "legacy", timestamps, the collective names of subjects, and requirements and anchors
///   that are called by their names.
[[nodiscard]] bool isMet(const RequirementExpression& expression, const RequirementContext& context);

}  // namespace wicket::codesign
