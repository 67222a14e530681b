// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <set>

#include "base/text/JsonString.h"
#include "codesign/command/Commands.h"
#include "codesign/command/ExitStatus.h"
#include "codesign/command/Files.h"
#include "codesign/requirement/RequirementEvaluator.h"
#include "codesign/requirement/RequirementParser.h"
#include "codesign/signature/SignatureVerifier.h"

namespace wicket::codesign::command {

namespace {

/// The anchor stands for the roots that the requirement language knows by name.
bool meets(const FileSignature& signature, const RequirementExpression& requirement, const Certificate& anchor) {
  const PropertyDictionary none;
  const std::set<Sha256Digest> roots{anchor.sha256()};
  const auto& entitlements = signature.directory.entitlements;
  return isMet(requirement,
               {signature.directory.identifier, signature.chain, none, entitlements ? *entitlements : none, roots});
}

std::expected<FileSignature, Problem> verifiedSignature(const VerifyOptions& options, const Certificate& anchor) {
  const auto file = openedFile(options.file);
  if (!file) return std::unexpected(file.error());
  auto signature = SignatureVerifier::verify(file->get(), anchor);
  if (!signature) return std::unexpected(problemWith(options.file, signature.error()));
  return std::move(*signature);
}

int verifyWith(Context& context, const VerifyOptions& options, const RequirementExpression* requirement) {
  const auto anchor = anchorFromFile(options.anchorFile);
  const auto signature = anchor ? verifiedSignature(options, *anchor) : std::unexpected(anchor.error());
  if (!signature) {
    context.output.printProblem(signature.error());
    return exit_status::failure;
  }
  if (signature->hasExpired) {
    context.output.printWarning({"A certificate in the signature of " + jsonString(options.file) + " has expired",
                                 "The signature stays valid, but sign the next release with another"});
  }
  if (requirement == nullptr || meets(*signature, *requirement, *anchor)) return exit_status::success;
  context.output.printProblem({"The signature of " + jsonString(options.file) + " is valid, but does not meet " +
                                   jsonString(*options.requirement),
                               "See what it says: wicket-codesign display"});
  return exit_status::requirementNotMet;
}

}  // namespace

int verify(Context& context, const VerifyOptions& options) {
  if (!options.requirement) return verifyWith(context, options, nullptr);
  const auto requirement = RequirementParser::parse(*options.requirement);
  if (requirement) return verifyWith(context, options, &*requirement);
  context.output.printProblem({"The requirement is none: " + requirement.error().text(), "Check --requirement"});
  return exit_status::usage;
}

}  // namespace wicket::codesign::command
