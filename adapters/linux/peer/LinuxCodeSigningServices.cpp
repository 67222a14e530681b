// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/peer/LinuxCodeSigningServices.h"

#include <functional>
#include <utility>

#include "adapters/linux/peer/LinuxCode.h"
#include "admission/Checks.h"
#include "codesign/requirement/RequirementEvaluator.h"
#include "codesign/requirement/RequirementParser.h"

namespace wicket::linux_adapter {
namespace {

using codesign::SigningFailure;

SigningInformation informationOf(const codesign::CodeDirectory& directory) {
  SigningInformation information;
  information.flags = directory.flags;
  if (directory.entitlements) information.entitlementsDict = admission::entitlementsFrom(*directory.entitlements);
  return information;
}

CodeSigningStatus statusAfter(SigningFailure failure) {
  switch (failure) {
    case SigningFailure::notSigned:
      return code_signing_status::unsignedCode;
    case SigningFailure::fileAltered:
    case SigningFailure::fileTooLarge:
    case SigningFailure::cannotBeRead:
      return code_signing_status::staticCodeChanged;
    default:
      return code_signing_status::signatureFailed;
  }
}

/// What a signature says, held against the process.
class SignedFacts final : public admission::ValidityFacts {
 public:
  using Comparison = std::function<std::expected<void, SigningFailure>()>;

  SignedFacts(std::function<bool()> meets, Comparison compare, std::function<bool()> isUnchanged)
      : meets_(std::move(meets)), compare_(std::move(compare)), isUnchanged_(std::move(isUnchanged)) {}

  bool meetsRequirement() override { return meets_(); }
  bool isWhatWasSigned() override {
    compared_ = compare_();
    return compared_.has_value();
  }
  bool isUnchanged() override { return isUnchanged_(); }

  [[nodiscard]] CodeSigningStatus statusOf(admission::Refusal refusal) const {
    if (refusal == admission::Refusal::requirementNotMet) return code_signing_status::requirementFailed;
    return compared_ ? code_signing_status::guestInvalid : statusAfter(compared_.error());
  }

 private:
  const std::function<bool()> meets_;
  const Comparison compare_;
  const std::function<bool()> isUnchanged_;
  std::expected<void, SigningFailure> compared_;
};

class LinuxRequirement final : public Requirement {
 public:
  explicit LinuxRequirement(codesign::RequirementExpression itsExpression) : expression(std::move(itsExpression)) {}
  const codesign::RequirementExpression expression;
};

}  // namespace

LinuxCodeSigningServices::LinuxCodeSigningServices(CompanionGroup group, codesign::Certificate anchor)
    : group_(std::move(group)), roots_{anchor.sha256()}, files_(std::move(anchor)) {}

std::expected<std::shared_ptr<Code>, CodeSigningStatus> LinuxCodeSigningServices::copyGuestWithAttributes(
    const AuditTokenData& token) {
  const auto group = group_.number();
  if (!group || !self_.isInstalled()) return std::unexpected(code_signing_status::noSuchCode);
  return LinuxCode::ofToken(token, *group);
}

std::shared_ptr<StaticCode> LinuxCodeSigningServices::copyStaticCode(Code& code) {
  const auto* const process = dynamic_cast<LinuxCode*>(&code);
  return process == nullptr ? nullptr : process->staticCode();
}

std::expected<SigningInformation, CodeSigningStatus> LinuxCodeSigningServices::copySigningInformation(
    StaticCode& code, std::uint32_t /*flags*/) {
  const auto* const executable = dynamic_cast<LinuxStaticCode*>(&code);
  if (executable == nullptr) return std::unexpected(code_signing_status::noSuchCode);
  const auto signature = files_.signatureOf(executable->file());
  if (signature) return informationOf((*signature)->directory);
  if (signature.error() == SigningFailure::notSigned) return SigningInformation{};
  return std::unexpected(statusAfter(signature.error()));
}

std::expected<std::shared_ptr<Requirement>, CodeSigningStatus> LinuxCodeSigningServices::createRequirement(
    const std::string& text) {
  auto expression = codesign::RequirementParser::parse(text);
  if (!expression) return std::unexpected(code_signing_status::requirementInvalid);
  return std::make_shared<LinuxRequirement>(*std::move(expression));
}

CodeSigningStatus LinuxCodeSigningServices::checkValidity(Code& code, const Requirement& requirement) {
  const auto* const process = dynamic_cast<LinuxCode*>(&code);
  const auto* const compiled = dynamic_cast<const LinuxRequirement*>(&requirement);
  if (process == nullptr) return code_signing_status::noSuchCode;
  if (compiled == nullptr) return code_signing_status::requirementInvalid;
  const ExecutableFile& file = process->staticCode()->file();
  const auto signature = files_.signatureOf(file);
  if (!signature) return statusAfter(signature.error());
  SignedFacts facts([&] { return meets(**signature, compiled->expression); },
                    [&] { return files_.compareDigest(file, (*signature)->directory); },
                    [&] { return process->isUnchanged(); });
  const auto refusal = admission::firstRefusal(facts);
  return refusal ? facts.statusOf(*refusal) : code_signing_status::success;
}

bool LinuxCodeSigningServices::meets(const codesign::FileSignature& signature,
                                     const codesign::RequirementExpression& requirement) const {
  static const codesign::PropertyDictionary none;
  const auto& directory = signature.directory;
  return codesign::isMet(requirement, {.identifier = directory.identifier,
                                       .chain = signature.chain,
                                       .information = none,
                                       .entitlements = directory.entitlements ? *directory.entitlements : none,
                                       .appleRoots = roots_});
}

}  // namespace wicket::linux_adapter
