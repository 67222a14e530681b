// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>

#include "helper/security/AuditToken.h"
#include "tests/doubles/RecordingConnection.h"

namespace wicket {
namespace {

TEST(AuditTokenTest, WithoutAConnectionItIs32ZeroBytes) {
  const AuditTokenData token = AuditToken::auditTokenDataFromNSXPCConnection(nullptr);
  EXPECT_EQ(token.size(), 32U);
  EXPECT_EQ(token, AuditTokenData{});
}

TEST(AuditTokenTest, TheConnectionsTokenIsHandedOnByteForByte) {
  AuditTokenData token{};
  for (std::size_t i = 0; i < token.size(); ++i) token[i] = static_cast<std::byte>(0xE0 + i);
  doubles::RecordingConnection connection;
  connection.setAuditToken(token);
  EXPECT_EQ(AuditToken::auditTokenDataFromNSXPCConnection(&connection), token);
}

}  // namespace
}  // namespace wicket
