// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include "helper/platform/CodeSigningServices.h"

namespace wicket::macos_adapter {

/// The Code Signing Services of the Security framework.
class MacCodeSigningServices final : public CodeSigningServices {
 public:
  std::expected<std::shared_ptr<Code>, CodeSigningStatus> copyGuestWithAttributes(const AuditTokenData& token) override;
  std::shared_ptr<StaticCode> copyStaticCode(Code& code) override;
  std::expected<SigningInformation, CodeSigningStatus> copySigningInformation(StaticCode& code,
                                                                              std::uint32_t flags) override;
  std::expected<std::shared_ptr<Requirement>, CodeSigningStatus> createRequirement(const std::string& text) override;
  CodeSigningStatus checkValidity(Code& code, const Requirement& requirement) override;
};

}  // namespace wicket::macos_adapter
