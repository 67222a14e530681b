// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <set>

#include "adapters/linux/peer/CompanionGroup.h"
#include "adapters/linux/peer/OwnExecutable.h"
#include "adapters/linux/peer/SignedFiles.h"
#include "codesign/requirement/RequirementExpression.h"
#include "helper/platform/CodeSigningServices.h"

namespace wicket::linux_adapter {

/// Code signing on Linux: a process is known by its audit token, its code is the set-group executable
/// that it runs, and the signature is the block at that file's end. For a helper that is no longer the
/// installed one no process is any code: who may be its client is for its successor to say, which may
/// trust another anchor.
class LinuxCodeSigningServices final : public CodeSigningServices {
 public:
  /// @p group is that of the companion's executable; as long as it is not found no process is any code.
  /// @p anchor is the one certificate that every signature must lead to.
  LinuxCodeSigningServices(CompanionGroup group, codesign::Certificate anchor);

  [[nodiscard]] std::expected<std::shared_ptr<Code>, CodeSigningStatus> copyGuestWithAttributes(
      const AuditTokenData& token) override;
  [[nodiscard]] std::shared_ptr<StaticCode> copyStaticCode(Code& code) override;
  /// Of a file without a signature block nothing is known, which is no error. No flag asks for anything
  /// else than another.
  [[nodiscard]] std::expected<SigningInformation, CodeSigningStatus> copySigningInformation(
      StaticCode& code, std::uint32_t flags) override;
  [[nodiscard]] std::expected<std::shared_ptr<Requirement>, CodeSigningStatus> createRequirement(
      const std::string& text) override;
  [[nodiscard]] CodeSigningStatus checkValidity(Code& code, const Requirement& requirement) override;

 private:
  [[nodiscard]] bool meets(const codesign::FileSignature& signature,
                           const codesign::RequirementExpression& requirement) const;

  const OwnExecutable self_;
  CompanionGroup group_;
  /// What "anchor apple generic" asks for: here it is the anchor of this build.
  const std::set<codesign::Sha256Digest> roots_;
  SignedFiles files_;
};

}  // namespace wicket::linux_adapter
