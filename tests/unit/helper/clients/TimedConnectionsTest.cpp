// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors

#include <chrono>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

#include "helper/clients/TimedConnections.h"
#include "tests/doubles/RecordingConnection.h"
#include "tests/doubles/VirtualMainQueue.h"

namespace wicket {
namespace {

using namespace std::chrono_literals;
using doubles::RecordingConnection;

class TimedConnectionsTest : public testing::Test {
 protected:
  std::shared_ptr<RecordingConnection> add() {
    auto connection = std::make_shared<RecordingConnection>();
    registry_.add(connection);
    return connection;
  }

  doubles::VirtualMainQueue mainQueue_;
  TimedConnections registry_{mainQueue_, 45.0};
};

TEST_F(TimedConnectionsTest, ANewRegistryIsEmptyAndHasNoFirstOrLastEntry) {
  EXPECT_TRUE(registry_.isEmpty());
  EXPECT_EQ(registry_.first(), nullptr);
  EXPECT_EQ(registry_.last(), nullptr);
  EXPECT_EQ(registry_.newestConnectionOf(0), nullptr);
}

TEST_F(TimedConnectionsTest, FirstIsTheOldestAndLastTheNewestEntry) {
  const auto oldest = add();
  add();
  const auto newest = add();
  EXPECT_EQ(registry_.first()->connection(), oldest);
  EXPECT_EQ(registry_.last()->connection(), newest);
  EXPECT_EQ(registry_.newestConnectionOf(newest->effectiveUserIdentifier()), newest);
}

TEST_F(TimedConnectionsTest, TheNewestConnectionOfAUserIsNobodyElses) {
  constexpr UserIdentifier alice = 1001;
  constexpr UserIdentifier bob = 1002;
  const auto addOf = [this](UserIdentifier user) {
    const auto connection = std::make_shared<RecordingConnection>();
    connection->setEffectiveUser(user);
    registry_.add(connection);
    return connection;
  };
  addOf(alice);
  const auto ofAlice = addOf(alice);
  const auto ofBob = addOf(bob);
  EXPECT_EQ(registry_.newestConnectionOf(alice), ofAlice);
  EXPECT_EQ(registry_.newestConnectionOf(bob), ofBob);
  EXPECT_EQ(registry_.newestConnectionOf(0), nullptr) << "not even root's";
}

TEST_F(TimedConnectionsTest, AConnectionIsInvalidated45SecondsAfterItWasAddedAndNotBefore) {
  const auto connection = add();
  mainQueue_.advance(45s - 1ns);
  EXPECT_FALSE(connection->isInvalidated());
  mainQueue_.advance(1ns);
  EXPECT_TRUE(connection->isInvalidated());
}

TEST_F(TimedConnectionsTest, TheCountdownIs45SecondsWhateverTheRegistrysIntervalSays) {
  TimedConnections registry{mainQueue_, 3.0};
  const auto connection = std::make_shared<RecordingConnection>();
  registry.add(connection);
  EXPECT_EQ(registry.interval(), 3.0);
  EXPECT_EQ(registry.last()->interval(), 45.0);
  mainQueue_.advance(44s);
  EXPECT_FALSE(connection->isInvalidated());
  mainQueue_.advance(1s);
  EXPECT_TRUE(connection->isInvalidated());
}

TEST_F(TimedConnectionsTest, ActivityDoesNotExtendTheCountdown) {
  const auto connection = add();
  connection->resume();
  for (int second = 0; second < 45; ++second) {
    connection->send([](HelperProtocol&) {});
    mainQueue_.advance(1s);
  }
  EXPECT_TRUE(connection->isInvalidated());
}

TEST_F(TimedConnectionsTest, AddingTheSameConnectionTwiceYieldsOneEntryWithAFreshCountdown) {
  const auto connection = add();
  mainQueue_.advance(44s);
  registry_.add(connection);
  EXPECT_EQ(registry_.first(), registry_.last());
  EXPECT_EQ(mainQueue_.armedTimers(), 1U);
  mainQueue_.advance(44s);
  EXPECT_FALSE(connection->isInvalidated());
  mainQueue_.advance(1s);
  EXPECT_TRUE(connection->isInvalidated());
}

TEST_F(TimedConnectionsTest, AConnectionAddedAgainAfterItsTimerFiredStaysFired) {
  const auto connection = add();
  mainQueue_.advance(45s);
  registry_.add(connection);
  EXPECT_EQ(registry_.first(), registry_.last());
  EXPECT_FALSE(registry_.last()->isArmed());
  EXPECT_EQ(mainQueue_.armedTimers(), 0U);
}

TEST_F(TimedConnectionsTest, RemoveLeavesAListWhoseEntriesAllHaveTimersUnchanged) {
  const auto oldest = add();
  const auto newest = add();
  registry_.remove();
  EXPECT_EQ(registry_.first()->connection(), oldest);
  EXPECT_EQ(registry_.last()->connection(), newest);
}

TEST_F(TimedConnectionsTest, RemoveEmptiesAListWhoseEntriesAllFired) {
  add();
  add();
  mainQueue_.advance(45s);
  registry_.remove();
  EXPECT_TRUE(registry_.isEmpty());
}

TEST_F(TimedConnectionsTest, RemoveKeepsTheOrderOfTheEntriesThatStillHaveATimer) {
  add();
  mainQueue_.advance(20s);
  const auto second = add();
  const auto third = add();
  mainQueue_.advance(25s);
  registry_.remove();
  EXPECT_EQ(registry_.first()->connection(), second);
  EXPECT_EQ(registry_.last()->connection(), third);
}

TEST_F(TimedConnectionsTest, AClientThatClosesEarlyIsKeptUntilARemoveAfterItsTimerFired) {
  const auto connection = add();
  connection->close();
  registry_.remove();
  EXPECT_FALSE(registry_.isEmpty());
  mainQueue_.advance(45s);
  EXPECT_FALSE(registry_.isEmpty());
  registry_.remove();
  EXPECT_TRUE(registry_.isEmpty());
}

TEST_F(TimedConnectionsTest, ResettingAFiredEntryDoesNothingAndSaysSo) {
  add();
  EXPECT_TRUE(registry_.last()->resetInvalidation());
  mainQueue_.advance(45s);
  EXPECT_FALSE(registry_.last()->resetInvalidation());
  EXPECT_EQ(mainQueue_.armedTimers(), 0U);
}

TEST_F(TimedConnectionsTest, InstallingAnArmedEntryDoesNotRestartItsCountdown) {
  const auto connection = add();
  mainQueue_.advance(44s);
  registry_.last()->install();
  EXPECT_EQ(mainQueue_.armedTimers(), 1U);
  mainQueue_.advance(1s);
  EXPECT_TRUE(connection->isInvalidated());
}

TEST_F(TimedConnectionsTest, AnEntryLivesOnInItsTimerAfterTheRegistryHasGone) {
  const auto connection = std::make_shared<RecordingConnection>();
  {
    TimedConnections registry{mainQueue_, 45.0};
    registry.add(connection);
  }
  mainQueue_.advance(45s);
  EXPECT_TRUE(connection->isInvalidated());
}

TEST_F(TimedConnectionsTest, AddingReadingAndRemovingFromSeveralThreadsLosesNoEntry) {
  constexpr int perThread = 200;
  std::vector<std::jthread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([this] {
      for (int i = 0; i < perThread; ++i) {
        const auto connection = add();
        registry_.remove();
        EXPECT_NE(registry_.newestConnectionOf(connection->effectiveUserIdentifier()), nullptr);
      }
    });
  }
  threads.clear();
  EXPECT_EQ(mainQueue_.armedTimers(), 4U * perThread);
  mainQueue_.advance(45s);
  registry_.remove();
  EXPECT_TRUE(registry_.isEmpty());
}

}  // namespace
}  // namespace wicket
