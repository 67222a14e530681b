// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include "helper/platform/AuditToken.h"
#include "helper/platform/Connection.h"

namespace wicket {

/// The audit token of a client.
struct AuditToken {
  /// The token of the process at the other end; 32 zero bytes, which name nobody, without a connection.
  [[nodiscard]] static AuditTokenData auditTokenDataFromNSXPCConnection(const Connection* connection);
};

}  // namespace wicket
