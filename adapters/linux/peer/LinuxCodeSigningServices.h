// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include "adapters/linux/peer/CompanionGroup.h"
#include "adapters/linux/peer/OwnExecutable.h"
#include "adapters/linux/peer/SignedFiles.h"
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

  [[nodiscard]] std::expected<std::shared_ptr<const Code>, CodeSigningStatus> identify(
      const AuditTokenData& token) override;

 private:
  const OwnExecutable self_;
  CompanionGroup group_;
  SignedFiles files_;
};

}  // namespace wicket::linux_adapter
