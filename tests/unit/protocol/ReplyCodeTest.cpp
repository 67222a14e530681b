// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>
#include <type_traits>

#include "protocol/ReplyCode.h"

namespace wicket {
namespace {

TEST(ReplyCodeTest, EachOutcomeHasItsNumber) {
  EXPECT_EQ(reply_code::success, 0);
  EXPECT_EQ(reply_code::notAuthorized, 156);
  EXPECT_EQ(reply_code::removalFailed, 367);
  EXPECT_EQ(reply_code::scriptUnreadable, 367);
  EXPECT_EQ(reply_code::noTool, 411);
  EXPECT_EQ(reply_code::installationFailed, 590);
  EXPECT_EQ(reply_code::launchFailed, 681);
  EXPECT_EQ(reply_code::scriptNotFound, 756);
}

TEST(ReplyCodeTest, ACodeIsASignedIntegerOf64Bits) {
  EXPECT_TRUE(std::is_signed_v<ReplyCode>);
  EXPECT_EQ(sizeof(ReplyCode), 8U);
}

}  // namespace
}  // namespace wicket
