// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "helper/platform/CodeSigningServices.h"

namespace wicket::doubles {

/// Answers as the test has scripted it and remembers what it was asked. By itself it describes a
/// genuine companion: signed, hardened, with entitlements of which none is set, and every requirement
/// is met.
class ScriptedCodeSigningServices : public CodeSigningServices {
 public:
  struct ScriptedRequirement : Requirement {
    explicit ScriptedRequirement(std::string itsText) : text(std::move(itsText)) {}
    const std::string text;
  };

  void setGuestStatus(CodeSigningStatus status) {
    locked([&] { guestStatus_ = status; });
  }
  void setGuestIsNull(bool value) {
    locked([&] { guestIsNull_ = value; });
  }
  void setStaticCodeIsNull(bool value) {
    locked([&] { staticCodeIsNull_ = value; });
  }
  void setInformationStatus(CodeSigningStatus status) {
    locked([&] { informationStatus_ = status; });
  }
  void setInformation(SigningInformation information) {
    locked([&] { information_ = std::move(information); });
  }
  void setRequirementStatus(CodeSigningStatus status) {
    locked([&] { requirementStatus_ = status; });
  }
  void setValidity(CodeSigningStatus status) {
    locked([&] { validity_ = status; });
  }

  /// What was asked, in order: "guest", "static code", "information FLAGS", "requirement TEXT",
  /// "validity TEXT".
  [[nodiscard]] std::vector<std::string> calls() const {
    const std::scoped_lock lock(mutex_);
    return calls_;
  }
  [[nodiscard]] std::vector<AuditTokenData> tokens() const {
    const std::scoped_lock lock(mutex_);
    return tokens_;
  }

  std::expected<std::shared_ptr<Code>, CodeSigningStatus> copyGuestWithAttributes(
      const AuditTokenData& token) override {
    const std::scoped_lock lock(mutex_);
    calls_.emplace_back("guest");
    tokens_.push_back(token);
    if (guestStatus_ != code_signing_status::success) return std::unexpected(guestStatus_);
    return guestIsNull_ ? nullptr : std::make_shared<ScriptedCode>();
  }
  std::shared_ptr<StaticCode> copyStaticCode(Code& /*code*/) override {
    const std::scoped_lock lock(mutex_);
    calls_.emplace_back("static code");
    return staticCodeIsNull_ ? nullptr : std::make_shared<ScriptedStaticCode>();
  }
  std::expected<SigningInformation, CodeSigningStatus> copySigningInformation(StaticCode& /*code*/,
                                                                              std::uint32_t flags) override {
    const std::scoped_lock lock(mutex_);
    calls_.emplace_back("information " + std::to_string(flags));
    if (informationStatus_ != code_signing_status::success) return std::unexpected(informationStatus_);
    return information_;
  }
  std::expected<std::shared_ptr<Requirement>, CodeSigningStatus> createRequirement(const std::string& text) override {
    const std::scoped_lock lock(mutex_);
    calls_.emplace_back("requirement " + text);
    if (requirementStatus_ != code_signing_status::success) return std::unexpected(requirementStatus_);
    return std::make_shared<ScriptedRequirement>(text);
  }
  CodeSigningStatus checkValidity(Code& /*code*/, const Requirement& requirement) override {
    const std::scoped_lock lock(mutex_);
    const auto* const scripted = dynamic_cast<const ScriptedRequirement*>(&requirement);
    calls_.emplace_back("validity " + (scripted == nullptr ? "of a stranger" : scripted->text));
    return validity_;
  }

 private:
  struct ScriptedCode : Code {};
  struct ScriptedStaticCode : StaticCode {};

  template <typename Change>
  void locked(Change change) {
    const std::scoped_lock lock(mutex_);
    change();
  }

  mutable std::mutex mutex_;
  CodeSigningStatus guestStatus_ = code_signing_status::success;
  bool guestIsNull_ = false;
  bool staticCodeIsNull_ = false;
  CodeSigningStatus informationStatus_ = code_signing_status::success;
  SigningInformation information_{codeSignatureRuntime, EntitlementsDictionary{}};
  CodeSigningStatus requirementStatus_ = code_signing_status::success;
  CodeSigningStatus validity_ = code_signing_status::success;
  std::vector<std::string> calls_;
  std::vector<AuditTokenData> tokens_;
};

}  // namespace wicket::doubles
