// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include "helper/platform/CodeSigningServices.h"

namespace wicket::macos_adapter {

/// The Code Signing Services of the Security framework.
class MacCodeSigningServices final : public CodeSigningServices {
 public:
  /// Null where the framework gives no reference to the program or none to its file.
  std::expected<std::shared_ptr<const Code>, CodeSigningStatus> identify(const AuditTokenData& token) override;
};

}  // namespace wicket::macos_adapter
