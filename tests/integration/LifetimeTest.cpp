// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <algorithm>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <thread>
#include <vector>

#include "helper/platform/Listener.h"
#include "tests/integration/IntegrationTest.h"
#include "tests/integration/SilentMessageBus.h"
#include "tests/support/Stopwatch.h"
#include "tests/support/TokenOfProcess.h"
#include "wire/BusNames.h"

namespace wicket::integration {
namespace {

using namespace std::chrono_literals;
using namespace std::string_view_literals;
using support::RawClient;

constexpr auto life = 45s;
constexpr auto tolerance = 250ms;
constexpr auto pass = 45s;
/// What the helper's process may need to end when its last pass is over. A sanitizer still looks for leaks.
constexpr auto slack = isSanitized ? 10s : 2s;

class LifetimeTest : public IntegrationTest {
 protected:
  /// A client that the helper accepted between these two moments.
  struct Guest {
    Clock::time_point called;
    std::unique_ptr<BusClient> client;
    Clock::time_point greeted;

    BusClient* operator->() const { return client.get(); }
  };
  [[nodiscard]] Guest receive() {
    const auto called = Clock::now();
    auto client = connectAndGreet();
    return {called, std::move(client), Clock::now()};
  }

  void expectCutOnTime(const Guest& guest) {
    const auto untilLatest = guest.greeted + life - Clock::now();
    guest->pumpUntil([&] { return guest->closedAt().has_value(); },
                     std::chrono::duration_cast<BusClient::Duration>(untilLatest));
    const support::Stopwatch watch({helperPid()});
    ASSERT_TRUE(guest->awaitClosed(patience));
    EXPECT_LT(watch.elapsed(), tolerance);
    EXPECT_GE(*guest->closedAt() - guest.called, life);
  }

  /// The helper ends by itself, and does so when the second of its passes is over. @p first: whom it was started for.
  void expectEndAfterTwoPasses(const Guest& first) {
    waitUntil(first.greeted + 2 * pass);
    EXPECT_LT(timeToEnd(), slack);
    const auto helper = activator().lives().front();
    ASSERT_TRUE(helper.ended);
    EXPECT_GE(*helper.ended - helper.started, 2 * pass);
    EXPECT_TRUE(WIFEXITED(helper.waitStatus));
    EXPECT_EQ(WEXITSTATUS(helper.waitStatus), 0);
  }
  static void waitUntil(Clock::time_point moment) { std::this_thread::sleep_until(moment); }

  struct Caller {
    std::unique_ptr<RawClient> client = std::make_unique<RawClient>(wire::socketPath);

    /// Says all at once, and so needs nothing but the helper for its answer.
    Caller() {
      client->send("\0AUTH EXTERNAL\r\nDATA\r\nBEGIN\r\n"sv);
      client->send(support::DBusBytes::methodCall(1, "getVersionWithCompletion_", "", ""));
    }
    [[nodiscard]] bool isServed() const { return hears(*client, "9417"); }
  };

 private:
  /// What goes by from now on until the helper has ended, or until the slack is over; as long as it has a processor.
  std::chrono::nanoseconds timeToEnd() {
    const support::Stopwatch watch({helperPid()});
    std::chrono::nanoseconds time{0};
    while (time < slack && !activator().waitForEnds(1, 20ms)) time = watch.elapsed();
    return time;
  }
};

TEST_F(LifetimeTest, AConnectionIsCutAfter45SecondsWhileACallRunsOnIt) {
  const SilentMessageBus bus;
  const auto other = connectAndGreet();
  const auto guest = receive();
  // Nobody ever answers the question for the authorization, so this call runs on and on.
  const auto serial = guest->startInstall("/var/tmp/a.sh,/var/orvane/a.sh", support::tokenOfProcess(::getpid()));
  ASSERT_TRUE(eventually([&] { return bus.wasAsked(); }));
  EXPECT_TRUE(other->await(other->startVersion()));
  guest->pumpFor(100ms);
  EXPECT_FALSE(guest->hasReply(serial));
  expectCutOnTime(guest);
  const auto reply = guest->await(serial);
  ASSERT_TRUE(reply);
  EXPECT_NE(reply->error, "");
}

TEST_F(LifetimeTest, AConnectionIsCutAfter45SecondsWhileAScriptWrites) {
  addScript("ticks.sh", "#!/bin/bash\necho $$ > /run/ticks.pid\nwhile :; do echo tick; sleep 0.02; done\n");
  const auto other = connectAndGreet();
  const auto guest = receive();
  const auto serial = guest->startRun("ticks.sh");
  EXPECT_EQ(guest->awaitCode(serial), 0);
  guest->pumpFor(30s);
  const auto lines = guest->chunks().size();
  expectCutOnTime(guest);
  EXPECT_GT(guest->chunks().size(), lines) << "the script's lines stopped before the cut";
  EXPECT_TRUE(guest->laterReports(serial).empty());
  EXPECT_TRUE(ProcessInspection::isAlive(std::stoi(readFile("/run/ticks.pid")))) << "the script ended with the cut";
}

TEST_F(LifetimeTest, ActivityDoesNotExtendTheLifeOfAConnection) {
  const auto other = connectAndGreet();
  const auto guest = receive();
  while (Clock::now() < guest.greeted + life - 1s && !guest->closedAt()) {
    const auto serial = guest->startVersion();
    ASSERT_TRUE(serial == 0 || guest->await(serial));
    guest->pumpFor(100ms);
  }
  expectCutOnTime(guest);
}

TEST_F(LifetimeTest, TheProcessEndsWithStatusZeroWithinAPassAfterTheLastInvalidation) {
  const auto guest = receive();
  ASSERT_TRUE(guest->awaitClosed(patience));
  EXPECT_NE(helperPid(), 0) << "the pass that runs at the cut is run to its end";
  // The connection was accepted in the first pass and cut in the second.
  expectEndAfterTwoPasses(guest);
}

TEST_F(LifetimeTest, AClientThatClosesEarlyLeavesAHelperThatLivesOnUntilALaterInvalidation) {
  auto guest = receive();
  const pid_t helper = helperPid();
  ASSERT_NE(helper, 0);
  guest.client.reset();
  // When the timer fires, the connection is long invalid and no handler runs: nothing finds the registry empty.
  waitUntil(guest.greeted + 2 * pass + slack);
  EXPECT_EQ(helperPid(), helper);
  const auto late = connectAndGreet();
  EXPECT_EQ(helperPid(), helper);
  EXPECT_EQ(activator().lives().size(), 1U);
}

TEST_F(LifetimeTest, TheEntryOfAClientThatClosedEarlyIsPrunedWithALaterOneAfterItsTimerHasFired) {
  auto first = receive();
  first.client.reset();
  waitUntil(first.greeted + 2s);
  const auto second = connectAndGreet();
  ASSERT_TRUE(second->awaitClosed(patience));
  expectEndAfterTwoPasses(first);
}

TEST_F(LifetimeTest, AClientThatConnectsWhileTheIdleHelperEndsIsServedByItOrByTheNext) {
  const auto guest = receive();
  ASSERT_TRUE(guest->awaitClosed(patience));
  // It sleeps, almost to the end of its last pass. When it wakes, so many are at the door that the end comes while it
  // serves them.
  stopHelper();
  std::vector<Caller> callers(150);
  waitUntil(activator().lives().front().started + 2 * pass);
  const auto woken = Clock::now();
  continueHelper();
  ASSERT_TRUE(activator().waitForEnds(1)) << "the helper did not end while clients came";
  const Caller next;
  const auto lost = std::ranges::count_if(callers, [](const Caller& caller) { return !caller.isServed(); });
  const auto ended = activator().lives().front();
  EXPECT_EQ(ended.waitStatus, 0);
  // It gives no more than that time to those whom it has let in, however slow the machine is.
  EXPECT_TRUE(lost == 0 || *ended.ended - woken >= Listener::timeToFinish) << lost << " of " << callers.size();
  EXPECT_TRUE(next.isServed());
  EXPECT_EQ(activator().lives().size(), 2U);
}

}  // namespace
}  // namespace wicket::integration
