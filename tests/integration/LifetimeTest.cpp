// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>
#include <list>
#include <sys/wait.h>
#include <thread>

#include "tests/integration/IntegrationTest.h"
#include "tests/integration/SilentMessageBus.h"
#include "tests/support/BusClient.h"
#include "tests/support/TokenOfProcess.h"

namespace wicket::integration {
namespace {

using namespace std::chrono_literals;

constexpr auto life = 45s;
constexpr auto tolerance = 250ms;
/// A pass of the main loop, with some time for a busy machine to start and to end a process.
constexpr auto pass = 45s;
constexpr auto slack = 2s;

class LifetimeTest : public IntegrationTest {
 protected:
  static void expectCutOnTime(BusClient& client) {
    ASSERT_TRUE(client.awaitClosed(life + 5s));
    const auto lived = *client.closedAt() - client.connectedAt();
    EXPECT_GE(lived, life - tolerance);
    EXPECT_LE(lived, life + tolerance);
  }
  static void waitUntil(Clock::time_point moment) { std::this_thread::sleep_until(moment); }
};

TEST_F(LifetimeTest, AConnectionIsCutAfter45SecondsWhileACallRunsOnIt) {
  const SilentMessageBus bus;
  const auto other = connectAndGreet();
  const auto client = connect();
  // Nobody ever answers the question for the authorization, so this call runs on and on.
  const auto serial = client->startInstall("/var/tmp/a.sh,/var/orvane/a.sh", support::tokenOfProcess(::getpid()));
  client->pumpFor(5s);
  ASSERT_TRUE(bus.wasAsked());
  EXPECT_FALSE(client->hasReply(serial));
  const auto asked = Clock::now();
  EXPECT_TRUE(other->await(other->startVersion()));
  EXPECT_LT(Clock::now() - asked, 1s);
  expectCutOnTime(*client);
  const auto reply = client->await(serial, 1s);
  ASSERT_TRUE(reply);
  EXPECT_NE(reply->error, "");
}

TEST_F(LifetimeTest, AConnectionIsCutAfter45SecondsWhileAScriptWrites) {
  addScript("ticks.sh", "#!/bin/bash\necho $$ > /run/ticks.pid\nwhile :; do echo tick; sleep 0.02; done\n");
  const auto other = connectAndGreet();
  const auto client = connect();
  const auto serial = client->startRun("ticks.sh");
  EXPECT_EQ(client->awaitCode(serial), 0);
  expectCutOnTime(*client);
  EXPECT_LT(*client->closedAt() - client->chunks().back().at, 1s) << "the script's lines stopped before the cut";
  EXPECT_TRUE(client->laterReports(serial).empty());
  EXPECT_TRUE(ProcessInspection::isAlive(std::stoi(readFile("/run/ticks.pid")))) << "the script ended with the cut";
}

TEST_F(LifetimeTest, ActivityDoesNotExtendTheLifeOfAConnection) {
  const auto other = connectAndGreet();
  const auto client = connect();
  while (Clock::now() < client->connectedAt() + life - 1s) {
    ASSERT_TRUE(client->await(client->startVersion()));
    client->pumpFor(100ms);
  }
  expectCutOnTime(*client);
}

TEST_F(LifetimeTest, TheProcessEndsWithStatusZeroWithinAPassAfterTheLastInvalidation) {
  const auto client = connectAndGreet();
  ASSERT_TRUE(client->awaitClosed(life + slack));
  EXPECT_NE(helperPid(), 0) << "the pass that runs at the cut is run to its end";
  ASSERT_TRUE(activator().waitForEnds(1, pass + slack));
  const auto ended = activator().lives().front();
  EXPECT_TRUE(WIFEXITED(ended.waitStatus));
  EXPECT_EQ(WEXITSTATUS(ended.waitStatus), 0);
  EXPECT_LE(*ended.ended - *client->closedAt(), pass + slack);
  // Two full passes: the connection was accepted in the first and cut in the second.
  EXPECT_GE(*ended.ended - ended.started, 2 * pass - 100ms);
}

TEST_F(LifetimeTest, AClientThatClosesEarlyLeavesAHelperThatLivesOnUntilALaterInvalidation) {
  connectAndGreet().reset();
  const pid_t helper = helperPid();
  ASSERT_NE(helper, 0);
  const auto started = activator().lives().front().started;
  // When the timer fires, the connection is long invalid and no handler runs: nothing finds the registry empty.
  waitUntil(started + 2 * pass + slack);
  EXPECT_EQ(helperPid(), helper);
  const auto late = connectAndGreet();
  EXPECT_EQ(helperPid(), helper);
  EXPECT_EQ(activator().lives().size(), 1U);
}

TEST_F(LifetimeTest, TheEntryOfAClientThatClosedEarlyIsPrunedWithALaterOneAfterItsTimerHasFired) {
  connectAndGreet().reset();
  const auto started = activator().lives().front().started;
  waitUntil(started + 2s);
  const auto second = connectAndGreet();
  ASSERT_TRUE(second->awaitClosed(life + slack));
  ASSERT_TRUE(activator().waitForEnds(1, pass + slack));
  const auto ended = activator().lives().front();
  EXPECT_TRUE(WIFEXITED(ended.waitStatus));
  EXPECT_EQ(WEXITSTATUS(ended.waitStatus), 0);
  EXPECT_LE(*ended.ended - started, 2 * pass + slack);
}

TEST_F(LifetimeTest, AClientThatConnectsWhileTheIdleHelperEndsIsServedByItOrByTheNext) {
  connect()->pumpFor(100ms);
  const auto client = connectAndGreet();
  ASSERT_TRUE(client->awaitClosed(life + slack));
  const auto started = activator().lives().front().started;
  waitUntil(started + 2 * pass - 30ms);

  struct Caller {
    std::unique_ptr<BusClient> client;
    BusClient::Serial serial;
  };
  std::list<Caller> callers;
  const auto stop = Clock::now() + 5s;
  while (Clock::now() < stop && callers.size() < 250) {
    auto caller = connect();
    const auto serial = caller->startVersion();
    callers.push_back({std::move(caller), serial});
    callers.back().client->pumpFor(isSanitized ? 40ms : 10ms);
    if (activator().lives().size() > 1 && callers.back().client->hasReply(serial)) break;
  }
  EXPECT_TRUE(eventually([&] { return activator().lives().size() == 2; }))
      << "the helper did not end while clients came";
  EXPECT_EQ(activator().lives().front().waitStatus, 0);
  const auto end = activator().lives().front().ended;
  EXPECT_LT(callers.front().client->connectedAt(), end) << "nobody came before the helper's end";
  EXPECT_GT(callers.back().client->connectedAt(), end) << "nobody came after the helper's end";
  std::size_t lost = 0;
  for (const auto& [caller, serial] : callers) {
    const auto reply = caller->await(serial, 10s);
    if (!reply || reply->text != "9417") ++lost;
  }
  EXPECT_EQ(lost, 0U) << "of " << callers.size();
}

}  // namespace
}  // namespace wicket::integration
