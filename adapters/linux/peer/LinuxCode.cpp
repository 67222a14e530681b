// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/peer/LinuxCode.h"

#include <cstdint>
#include <optional>
#include <sys/stat.h>

#include "adapters/linux/peer/AuditTokenWords.h"
#include "adapters/linux/peer/PeerProcess.h"
#include "admission/Checks.h"
#include "base/system/linux/ProcessFiles.h"
#include "codesign/requirement/RequirementEvaluator.h"
#include "codesign/requirement/RequirementParser.h"

namespace wicket::linux_adapter {
namespace {

using admission::Refusal;
using codesign::SigningFailure;

bool isNamedBy(const AuditTokenWords& words, const Pidfd& pidfd) {
  const auto version = PeerProcess::versionOf(pidfd, static_cast<pid_t>(words.pid));
  return version && words.pidVersion != 0 && static_cast<std::uint32_t>(*version) == words.pidVersion;
}

bool isTracedNow(const ProcessFiles& process) {
  const auto status = process.read("status");
  return !status || ProcessFiles::statusNumber(*status, "TracerPid") != 0U;
}

/// What the kernel says about the process that a token names, which is pinned before anything is read of it.
class TokenFacts final : public admission::ProcessFacts {
 public:
  TokenFacts(const AuditTokenWords& words, gid_t group) : words_(words), group_(group), process_(pid()) {}

  bool hasCompanionGroup() override { return words_.egid == group_; }
  bool isWhoConnected() override {
    if (words_.pid == 0 || !std::in_range<pid_t>(words_.pid)) return false;
    pidfd_ = Pidfd::open(pid());
    return pidfd_.isOpen() && isNamedBy(words_, pidfd_);
  }
  bool isTraced() override { return isTracedNow(process_); }
  bool isInSystemsUserNamespace() override {
    const auto theirs = process_.target("ns/user");
    struct stat ours{};
    if (!theirs || ::stat("/proc/self/ns/user", &ours) != 0) return false;
    return theirs->st_dev == ours.st_dev && theirs->st_ino == ours.st_ino;
  }
  std::uint32_t user() override { return words_.euid; }
  std::uint32_t shownOwner() override {
    struct stat link{};
    return ::lstat(process_.path("exe").c_str(), &link) == 0 ? link.st_uid : words_.euid;
  }

  [[nodiscard]] const ProcessFiles& process() const { return process_; }
  [[nodiscard]] pid_t pid() const { return static_cast<pid_t>(words_.pid); }
  [[nodiscard]] bool isAlive() const { return pidfd_.isAlive(); }
  [[nodiscard]] Pidfd takePidfd() { return std::move(pidfd_); }

 private:
  const AuditTokenWords words_;
  const gid_t group_;
  const ProcessFiles process_;
  Pidfd pidfd_{Descriptor()};
};

CodeSigningStatus statusOf(Refusal refusal) {
  const bool isNone = refusal == Refusal::anotherGroup || refusal == Refusal::anotherProcess;
  return isNone ? code_signing_status::noSuchCode : code_signing_status::guestInvalid;
}

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

/// What a signature says, held against the process that runs the file.
class SignedFacts final : public admission::ValidityFacts {
 public:
  SignedFacts(const LinuxCode& code, SignedFiles& files, const codesign::FileSignature& signature,
              const codesign::RequirementExpression& requirement)
      : code_(code), files_(files), signature_(signature), requirement_(requirement) {}

  bool meetsRequirement() override {
    static const codesign::PropertyDictionary none;
    const auto& directory = signature_.directory;
    return codesign::isMet(requirement_, {.identifier = directory.identifier,
                                          .chain = signature_.chain,
                                          .information = none,
                                          .entitlements = directory.entitlements ? *directory.entitlements : none,
                                          .appleRoots = files_.roots()});
  }
  bool isWhatWasSigned() override {
    compared_ = files_.compareDigest(code_.file(), signature_.directory);
    return compared_.has_value();
  }
  bool isUnchanged() override { return code_.isUnchanged(); }

  [[nodiscard]] CodeSigningStatus statusOf(Refusal refusal) const {
    if (refusal == Refusal::requirementNotMet) return code_signing_status::requirementFailed;
    return compared_ ? code_signing_status::guestInvalid : statusAfter(compared_.error());
  }

 private:
  const LinuxCode& code_;
  SignedFiles& files_;
  const codesign::FileSignature& signature_;
  const codesign::RequirementExpression& requirement_;
  std::expected<void, SigningFailure> compared_;
};

}  // namespace

std::expected<std::shared_ptr<const LinuxCode>, CodeSigningStatus> LinuxCode::ofToken(const AuditTokenData& token,
                                                                                      gid_t group, SignedFiles& files) {
  TokenFacts facts(AuditTokenWords::of(token), group);
  if (const auto refusal = admission::firstRefusal(facts)) return std::unexpected(statusOf(*refusal));
  auto file = ExecutableFile::ofProcess(facts.process(), group);
  if (!file) return std::unexpected(code_signing_status::guestInvalid);
  // Alive after /proc was read: so all of that was about this process.
  if (!facts.isAlive()) return std::unexpected(code_signing_status::noSuchCode);
  return std::make_shared<const LinuxCode>(facts.takePidfd(), facts.pid(), std::move(*file), files);
}

LinuxCode::LinuxCode(Pidfd pidfd, pid_t pid, ExecutableFile file, SignedFiles& files)
    : pidfd_(std::move(pidfd)), pid_(pid), file_(std::move(file)), files_(files) {}

std::expected<SigningInformation, CodeSigningStatus> LinuxCode::signingInformation() const {
  const auto signature = files_.signatureOf(file_);
  if (signature) return informationOf((*signature)->directory);
  if (signature.error() == SigningFailure::notSigned) return SigningInformation{};
  return std::unexpected(statusAfter(signature.error()));
}

CodeSigningStatus LinuxCode::meets(const std::string& requirement) const {
  const auto expression = codesign::RequirementParser::parse(requirement);
  if (!expression) return code_signing_status::requirementInvalid;
  const auto signature = files_.signatureOf(file_);
  if (!signature) return statusAfter(signature.error());
  SignedFacts facts(*this, files_, **signature, *expression);
  const auto refusal = admission::firstRefusal(facts);
  return refusal ? facts.statusOf(*refusal) : code_signing_status::success;
}

bool LinuxCode::isUnchanged() const {
  const ProcessFiles process(pid_);
  const auto running = process.target("exe");
  const bool isSameFile = running && FileIdentity::of(*running) == file_.identity();
  return isSameFile && file_.isUnchanged() && !isTracedNow(process) && pidfd_.isAlive();
}

}  // namespace wicket::linux_adapter
