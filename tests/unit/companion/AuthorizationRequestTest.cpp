// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <algorithm>
#include <gtest/gtest.h>
#include <unistd.h>

#include "companion/AuthorizationRequest.h"
#include "tests/support/TokenOfProcess.h"

namespace wicket::companion {
namespace {

TEST(AuthorizationRequestTest, NamesThisProcessAndItsUser) {
  const auto request = AuthorizationRequest::forThisProcess();
  ASSERT_TRUE(request);
  EXPECT_EQ(request->token().pid, static_cast<std::uint32_t>(::getpid()));
  EXPECT_EQ(request->token().uid, ::getuid());
  EXPECT_TRUE(std::ranges::equal(request->externalForm(), support::tokenOfProcess(::getpid())));
}

}  // namespace
}  // namespace wicket::companion
