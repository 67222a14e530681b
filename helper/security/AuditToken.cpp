// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "helper/security/AuditToken.h"

namespace wicket {

AuditTokenData AuditToken::auditTokenDataFromNSXPCConnection(const Connection* connection) {
  return connection == nullptr ? AuditTokenData{} : connection->auditToken();
}

}  // namespace wicket
