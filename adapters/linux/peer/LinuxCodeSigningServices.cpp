// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/peer/LinuxCodeSigningServices.h"

#include <utility>
#include <variant>

#include "adapters/linux/peer/LinuxCode.h"
#include "codesign/requirement/RequirementEvaluator.h"
#include "codesign/requirement/RequirementParser.h"

namespace wicket::linux_adapter {
namespace {

using codesign::SigningFailure;

EntitlementValue entitlementValue(const codesign::PropertyValue& value) {
  if (const auto* const truth = value.as<bool>()) return *truth;
  if (const auto* const integer = value.as<std::int64_t>()) return *integer;
  if (const auto* const real = value.as<double>()) return *real;
  return NonNumericValue{};
}

SigningInformation informationOf(const codesign::CodeDirectory& directory) {
  SigningInformation information;
  information.flags = directory.flags;
  if (!directory.entitlements) return information;
  auto& dictionary = information.entitlementsDict.emplace();
  for (const auto& [name, value] : *directory.entitlements) dictionary.emplace(name, entitlementValue(value));
  return information;
}

CodeSigningStatus statusOf(SigningFailure failure) {
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
  return std::unexpected(statusOf(signature.error()));
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
  if (!signature) return statusOf(signature.error());
  // The digest is what takes long: only a program that would get in is worth it.
  if (!meets(**signature, compiled->expression)) return code_signing_status::requirementFailed;
  const auto compared = files_.compareDigest(file, (*signature)->directory);
  if (!compared) return statusOf(compared.error());
  return process->isUnchanged() ? code_signing_status::success : code_signing_status::guestInvalid;
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
