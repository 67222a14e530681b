// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <memory>

#include "helper/platform/CodeSigningServices.h"
#include "helper/platform/Connection.h"

namespace wicket {

/// Who may connect.
class CodesignCheck {
 public:
  /// Whether the process at the other end is the companion: signed by its maker, hardened and without
  /// an entitlement that lets other code into it. A refusal leaves no trace. Ends the process when one
  /// of the entitlements that it looks at is no number. Listener's queue.
  [[nodiscard]] static bool isValid(CodeSigningServices& services, const Connection& connection);

 private:
  /// Fills the reference.
  static bool codeReferencesFromAuditToken(CodeSigningServices& services, const Connection& connection,
                                           std::shared_ptr<const Code>& code);
  static bool verifyHardenedRuntime(const Code& code);
  static bool verifyWithRequirementString(const Code& code);
};

}  // namespace wicket
