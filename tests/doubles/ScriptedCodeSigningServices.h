// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "admission/Facts.h"
#include "helper/platform/CodeSigningServices.h"

namespace wicket::doubles {

/// Answers as the test has scripted it and remembers what it was asked. By itself it describes a
/// genuine companion: signed, hardened, with entitlements of which none is set, and every requirement
/// is met.
class ScriptedCodeSigningServices : public CodeSigningServices {
 public:
  void setCodeStatus(CodeSigningStatus status) {
    locked([&] { codeStatus_ = status; });
  }
  void setCodeIsNull(bool value) {
    locked([&] { codeIsNull_ = value; });
  }
  void setInformationStatus(CodeSigningStatus status) {
    locked([&] { informationStatus_ = status; });
  }
  void setInformation(SigningInformation information) {
    locked([&] { information_ = std::move(information); });
  }
  /// What becomes of every requirement, one that does not compile included.
  void setRequirementStatus(CodeSigningStatus status) {
    locked([&] { requirementStatus_ = status; });
  }

  /// What was asked, in order: "identify", "information", "meets TEXT".
  [[nodiscard]] std::vector<std::string> calls() const {
    const std::scoped_lock lock(mutex_);
    return calls_;
  }
  [[nodiscard]] std::vector<AuditTokenData> tokens() const {
    const std::scoped_lock lock(mutex_);
    return tokens_;
  }

  std::expected<std::shared_ptr<const Code>, CodeSigningStatus> identify(const AuditTokenData& token) override {
    const std::scoped_lock lock(mutex_);
    calls_.emplace_back("identify");
    tokens_.push_back(token);
    if (codeStatus_ != code_signing_status::success) return std::unexpected(codeStatus_);
    return codeIsNull_ ? nullptr : std::make_shared<const ScriptedCode>(*this);
  }

 private:
  class ScriptedCode final : public Code {
   public:
    explicit ScriptedCode(ScriptedCodeSigningServices& services) : services_(services) {}
    [[nodiscard]] std::expected<SigningInformation, CodeSigningStatus> signingInformation() const override {
      return services_.answerInformation();
    }
    [[nodiscard]] CodeSigningStatus meets(const std::string& requirement) const override {
      return services_.answerRequirement(requirement);
    }

   private:
    ScriptedCodeSigningServices& services_;
  };

  std::expected<SigningInformation, CodeSigningStatus> answerInformation() {
    const std::scoped_lock lock(mutex_);
    calls_.emplace_back("information");
    if (informationStatus_ != code_signing_status::success) return std::unexpected(informationStatus_);
    return information_;
  }
  CodeSigningStatus answerRequirement(const std::string& text) {
    const std::scoped_lock lock(mutex_);
    calls_.emplace_back("meets " + text);
    return requirementStatus_;
  }

  template <typename Change>
  void locked(Change change) {
    const std::scoped_lock lock(mutex_);
    change();
  }

  mutable std::mutex mutex_;
  CodeSigningStatus codeStatus_ = code_signing_status::success;
  bool codeIsNull_ = false;
  CodeSigningStatus informationStatus_ = code_signing_status::success;
  SigningInformation information_{admission::SignatureFacts::hardenedRuntime, EntitlementsDictionary{}};
  CodeSigningStatus requirementStatus_ = code_signing_status::success;
  std::vector<std::string> calls_;
  std::vector<AuditTokenData> tokens_;
};

}  // namespace wicket::doubles
