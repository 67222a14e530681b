// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <thread>

#include "tests/macos/frameworks/CodeSigning.h"
#include "tests/macos/frameworks/VirtualTime.h"
#include "tests/macos/frameworks/Xpc.h"
#include "tests/macos/suite/HelperTest.h"

namespace wicket::suite {
namespace {

using namespace std::chrono_literals;
using frameworks::VirtualTime;
using testing::ElementsAre;
using testing::IsEmpty;

/// How long the helper lives. run() is what the program's main does between its beginning and its exit with 0.
using LifetimeTest = HelperTest;

TEST_F(LifetimeTest, AConnectionIsCutAfter45SecondsAndTheHelperEndsAtTheEndOfThePass) {
  const Client client;
  VirtualTime::at(1s, [&] { EXPECT_TRUE(client.connect()); });
  VirtualTime::at(46s - 1ns, [&] { EXPECT_FALSE(client.connection().wicketIsInvalid); });
  VirtualTime::at(46s + 1ns, [&] {
    EXPECT_TRUE(client.connection().wicketIsInvalid);
    EXPECT_TRUE(helper().shouldQuit());
  });
  forget();
  helper().run();
  EXPECT_EQ(VirtualTime::elapsed(), 90s);
  EXPECT_THAT(recorded("run loop"), ElementsAre("run loop for 45 s", "run loop for 45 s"));
  EXPECT_THAT(recorded("timer fires"), ElementsAre("timer fires"));
  EXPECT_THAT(recorded("connection invalidated"), ElementsAre("connection invalidated"));
  EXPECT_THAT(recorded("timer cancelled"), IsEmpty());
}

TEST_F(LifetimeTest, TheHelperWaitsForItsFirstClientForAsLongAsItTakes) {
  const Client client;
  VirtualTime::at(200s, [&] { EXPECT_TRUE(client.connect()); });
  helper().run();
  EXPECT_EQ(VirtualTime::elapsed(), 270s);
}

TEST_F(LifetimeTest, ARefusedClientEndsNothing) {
  const Client companion;
  VirtualTime::at(1s, [] {
    frameworks::CodeSigning::answer({.guestStatus = -67065});
    EXPECT_FALSE(Client().connect());
    frameworks::CodeSigning::answer(frameworks::CodeSigning::genuine());
  });
  VirtualTime::at(100s, [&] {
    EXPECT_FALSE(helper().shouldQuit());
    EXPECT_TRUE(companion.connect());
  });
  helper().run();
  EXPECT_EQ(VirtualTime::elapsed(), 180s);
}

TEST_F(LifetimeTest, CallsDoNotProlongAConnection) {
  const Client client;
  Replies replies;
  VirtualTime::at(0s, [&] { EXPECT_TRUE(client.connect()); });
  for (int second = 5; second <= 45; second += 5) {
    VirtualTime::at(std::chrono::seconds(second), [&] {
      client.call([&](id<HelperProtocol> helper) { [helper getVersionWithCompletion:replies.text()]; });
    });
  }
  helper().run();
  EXPECT_EQ(VirtualTime::elapsed(), 45s);
  EXPECT_THAT(replies.all(), testing::SizeIs(9));
}

TEST_F(LifetimeTest, AClientThatLeavesEarlyKeepsTheHelperUntilItsTimeIsOver) {
  const Client early;
  const Client late;
  VirtualTime::at(0s, [&] { EXPECT_TRUE(early.connect()); });
  VirtualTime::at(5s, [&] { [early.connection() wicketClose]; });
  VirtualTime::at(6s, [&] {
    EXPECT_FALSE(helper().shouldQuit());
    EXPECT_TRUE(late.connect());
  });
  VirtualTime::at(50s, [&] { EXPECT_FALSE(helper().shouldQuit()); });
  VirtualTime::at(52s, [&] { EXPECT_TRUE(helper().shouldQuit()); });
  helper().run();
  EXPECT_EQ(VirtualTime::elapsed(), 90s);
}

TEST_F(LifetimeTest, TheTimerHoldsTheConnectionAndItsEntryUntilItHasFired) {
  __weak NSXPCConnection* connection = nil;
  @autoreleasepool {
    const Client client;
    EXPECT_TRUE(client.connect());
    connection = client.connection();
    [client.connection() wicketClose];
  }
  VirtualTime::runUntil(VirtualTime::now() + 44 * NSEC_PER_SEC);
  EXPECT_TRUE(connection != nil);
  EXPECT_THAT(recorded("timer fires"), IsEmpty());
  VirtualTime::runUntil(VirtualTime::now() + 1 * NSEC_PER_SEC);
  EXPECT_THAT(recorded("timer fires"), ElementsAre("timer fires"));
}

TEST_F(LifetimeTest, TheHelperFinishesWithASuspendedListener) {
  const Client client;
  VirtualTime::at(1s, [&] { EXPECT_TRUE(client.connect()); });
  forget();
  helper().run();
  EXPECT_THAT(recorded("listener"), ElementsAre("listener resumed", "listener suspended"));
}

}  // namespace
}  // namespace wicket::suite
