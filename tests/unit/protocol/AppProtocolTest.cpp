// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>

#include "protocol/AppProtocol.h"

namespace wicket {
namespace {

TEST(AppProtocolTest, ItsOnlyOperationTakesOneStringAndIsOneWay) {
  EXPECT_EQ(app_protocol::interface.name, "AppProtocol");
  ASSERT_EQ(app_protocol::interface.selectors.size(), 1U);
  const Selector& selector = app_protocol::interface.selectors.front();
  EXPECT_EQ(selector.text, "logWithStdOut:");
  ASSERT_EQ(selector.arguments.size(), 1U);
  EXPECT_EQ(selector.arguments.front(), ArgumentType::string);
  EXPECT_TRUE(selector.isOneWay());
}

}  // namespace
}  // namespace wicket
