// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <systemd/sd-bus.h>

#include "tests/support/ComesTrue.h"
#include "tests/unit/adapters/linux/bus/BusPair.h"

namespace wicket::linux_adapter {
namespace {

class ServerBusTest : public testing::Test {
 protected:
  static int seen(sd_bus_message* message, void* count, sd_bus_error* /*error*/) {
    ++*static_cast<int*>(count);
    return sd_bus_message_is_method_call(message, nullptr, nullptr) > 0 ? 0 : 1;
  }
  /// As much as no buffer takes, from the helper's bus to a client that does not read.
  void fillTheSocket() {
    const std::string text(std::size_t{64} << 10U, 'x');
    for (int i = 0; i < 64; ++i) {
      ASSERT_GE(sd_bus_emit_signal(pair_.server().get(), wire::objectPath, "a.b", "C", "s", text.c_str()), 0);
    }
  }

  int messages_ = 0;
  BusPair pair_{&seen, &messages_};
};

TEST_F(ServerBusTest, TheClientMaySayWhoItIsAndIsTakenAtItsWord) {
  EXPECT_FALSE(pair_.server().isReady());
  EXPECT_TRUE(pair_.processUntil([&] { return pair_.server().isReady(); }));
  EXPECT_EQ(messages_, 0);
}

TEST_F(ServerBusTest, EachMessageIsSeenFirstAndWhatNobodyHandlesIsAnswered) {
  pair_.start(pair_.newCall("anything"));
  EXPECT_EQ(BusPair::errorOf(pair_.awaitReply()), SD_BUS_ERROR_UNKNOWN_OBJECT);
  EXPECT_EQ(messages_, 1);
}

TEST_F(ServerBusTest, WhatTheSocketHasNoRoomForWaitsInTheBusUntilItHas) {
  ASSERT_TRUE(pair_.processUntil([&] { return pair_.server().isReady(); }));
  EXPECT_FALSE(pair_.server().waitsToWrite());
  fillTheSocket();
  EXPECT_GT(pair_.server().unwrittenMessages(), 0U);
  EXPECT_TRUE(pair_.server().waitsToWrite());
  EXPECT_TRUE(pair_.processUntil([&] { return pair_.server().unwrittenMessages() == 0; }));
  EXPECT_FALSE(pair_.server().waitsToWrite());
}

TEST_F(ServerBusTest, TheKernelHoldsLittleForAClientThatDoesNotRead) {
  ASSERT_TRUE(pair_.processUntil([&] { return pair_.server().isReady(); }));
  fillTheSocket();
  constexpr std::uint64_t withinTheKernel = 8;
  EXPECT_GE(pair_.server().unwrittenMessages(), 64 - withinTheKernel);
}

TEST_F(ServerBusTest, WithoutTheClientItCanCarryNothingMore) {
  ASSERT_TRUE(pair_.processUntil([&] { return pair_.server().isReady(); }));
  EXPECT_TRUE(pair_.processServer());
  pair_.closeClient();
  (void)sd_bus_emit_signal(pair_.server().get(), wire::objectPath, "a.b", "C", "s", "lost");
  EXPECT_TRUE(support::comesTrue([&] { return !pair_.processServer(); }));
}

}  // namespace
}  // namespace wicket::linux_adapter
