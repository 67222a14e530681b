// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/peer/LinuxCodeSigningServices.h"

#include <utility>

#include "adapters/linux/peer/LinuxCode.h"

namespace wicket::linux_adapter {

LinuxCodeSigningServices::LinuxCodeSigningServices(CompanionGroup group, codesign::Certificate anchor)
    : group_(std::move(group)), files_(std::move(anchor)) {}

std::expected<std::shared_ptr<const Code>, CodeSigningStatus> LinuxCodeSigningServices::identify(
    const AuditTokenData& token) {
  const auto group = group_.number();
  if (!group || !self_.isInstalled()) return std::unexpected(code_signing_status::noSuchCode);
  return LinuxCode::ofToken(token, *group, files_);
}

}  // namespace wicket::linux_adapter
