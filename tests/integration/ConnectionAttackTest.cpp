// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <algorithm>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <thread>

#include "tests/integration/AttackTest.h"
#include "tests/support/Stopwatch.h"

namespace wicket::integration {
namespace {

using namespace std::chrono_literals;
using support::StandIn;

/// Connections that one process makes and another one uses, and processes that do not stay.
class ConnectionAttackTest : public AttackTest {
 protected:
  static Steps toHelper() { return {"connect", wire::socketPath}; }
  /// As a refusal, but what had been on its way to the companion, such as its exit report, may still come.
  void expectCut(StandIn& client) {
    EXPECT_TRUE(eventually([&] { return client.awaitSaid("refused", 10ms) || client.awaitSaid("cut", 10ms); }));
    expectNoEffect();
  }
  static Steps companionOfUser() { return joined({asUser(), {"execute", companion}}); }
};

TEST_F(ConnectionAttackTest, AProcessThatConnectsAndThenExecutesTheCompanionIsRefused) {
  const Steps thenExecutes{"execute", companion};
  expectRefused(start(joined({toHelper(), thenExecutes, ask()})));
  expectRefused(start(joined({toHelper(), asUser(), thenExecutes, ask()})));
  expectRefused(start(joined({asGroupMember(), toHelper(), thenExecutes, ask()})));
  expectRefused(start(joined({asGroupMember(), toHelper(), {"request", callFile}, thenExecutes, {"hear"}})));
}

TEST_F(ConnectionAttackTest, ACompanionThatThenExecutesSomethingElseIsRefused) {
  expectRefused(start(joined({companionOfUser(), toHelper(), {"execute", plain}, ask()})));
}

TEST_F(ConnectionAttackTest, ACompanionThatWasServedAndThenExecutesSomethingElseIsCut) {
  const auto client =
      start(joined({companionOfUser(), connectAndAsk(), {"wait", "execute", plain, "send", callFile, "hear"}}));
  expectServed(client);
  client->proceed();
  expectCut(*client);
}

TEST_F(ConnectionAttackTest, AConnectionThatIsPassedToAnotherProcessIsCut) {
  const std::string meeting = "/var/tmp/meeting";
  const auto taker = start(joined({asUser(), {"take-connection", meeting}, ask()}));
  ASSERT_TRUE(taker->awaitSaid("listening"));
  const auto giver = start(joined({companionOfUser(), toHelper(), {"give-connection", meeting}}));
  expectRefused(taker);
}

TEST_F(ConnectionAttackTest, AConnectionThatIsPassedOnAfterItWasServedIsCut) {
  const std::string meeting = "/var/tmp/meeting";
  const auto taker = start(joined({asUser(), {"take-connection", meeting, "send", callFile, "hear"}}));
  ASSERT_TRUE(taker->awaitSaid("listening"));
  const auto giver = start(joined({companionOfUser(), connectAndAsk(), {"wait", "give-connection", meeting}}));
  expectServed(giver);
  giver->proceed();
  expectCut(*taker);
}

TEST_F(ConnectionAttackTest, AForkedChildThatKeepsTheConnectionIsCut) {
  expectRefused(start(joined({companionOfUser(), toHelper(), {"fork"}, ask()})));
}

TEST_F(ConnectionAttackTest, AForkedChildThatOutlivesTheCompanionIsCut) {
  expectRefused(start(joined({companionOfUser(), toHelper(), {"leave-to-child"}, ask()})));
}

TEST_F(ConnectionAttackTest, AForkedChildThatExecutesTheCompanionAgainIsCut) {
  expectRefused(start(joined({companionOfUser(), toHelper(), {"fork", "execute", companion}, ask()})));
}

TEST_F(ConnectionAttackTest, ACompanionThatDiesAtAnyStepLeavesNothingBehind) {
  const std::string call = readFile(callFile);
  const std::string handshake("\0AUTH EXTERNAL\r\nDATA\r\nBEGIN\r\n", 29);
  writeFile("/run/all", handshake + call);
  const auto descriptors = ProcessInspection::descriptorCount(helper());
  const auto threads = ProcessInspection::threadCount(helper());
  for (std::size_t sent = 0; sent < handshake.size() + call.size(); ++sent) {
    expectGenuineServed();
    EXPECT_TRUE(start(joined({{"execute", companion},
                              toHelper(),
                              {"send-part", "/run/all", std::to_string(sent), "say", "sent", "end"}}))
                    ->awaitSaid("sent"));
  }
  expectNoEffect();
  EXPECT_TRUE(eventually([&] { return ProcessInspection::descriptorCount(helper()) <= descriptors + 2; }));
  EXPECT_TRUE(eventually([&] { return ProcessInspection::threadCount(helper()) <= threads + 2; }));
}

/// A member of the group connects, sends and dies, and leaves the connection to a child. The companion gets
/// the number of the process that has died.
class ReusedNumberTest : public ConnectionAttackTest {
 protected:
  /// What the helper thinks of it once everything is in place. @p isHelperAsleep: it has not even accepted the
  /// connection before.
  void attack(const Steps& beforeDeath, const Steps& afterwards, bool isHelperAsleep) {
    if (isHelperAsleep) stopHelper();
    const auto attacker = start(joined({asGroupMember(),
                                        toHelper(),
                                        beforeDeath,
                                        {"leave-to-child", "leave-group", "say", "left", "wait"},
                                        afterwards,
                                        {"hear"}}));
    const bool isLeft = attacker->awaitSaid("left");
    const pid_t number = attacker->pid();
    siginfo_t ended{};
    ::waitid(P_PID, static_cast<id_t>(number), &ended, WEXITED);
    const auto successor =
        start(joined({{"fork-with-number", std::to_string(number)}, asUser(), {"execute", companion, "say", "here"}}));
    const bool isReused = successor->awaitSaid("here");
    if (isHelperAsleep) continueHelper();
    ASSERT_TRUE(isLeft && isReused);
    attacker->proceed();
    EXPECT_TRUE(attacker->awaitSaid("refused"));
  }
};

TEST_F(ReusedNumberTest, BetweenConnectionAndCheckIsRefused) {
  // Four connections each: thousands, or what there is time for.
  const auto began = Clock::now();
  for (int round = 0; round < 600 && Clock::now() - began < 20s; ++round) {
    attack({}, {"request", callFile}, false);
    attack({}, {"request", callFile}, true);
    attack({"request", callFile}, {}, false);
    attack({"request", callFile}, {}, true);
    if (HasFailure()) break;
    expectGenuineServed();
  }
  expectNoEffect();
}

TEST_F(ConnectionAttackTest, TenThousandRefusedConnectionsDoNotHoldUpAGenuineOne) {
  // Or a thousand, which are as slow with a sanitizer.
  const std::string count = isSanitized ? "500" : "5000";
  const Steps crowd{"flood", wire::socketPath, count, callFile, "say", "over"};
  const auto strangers = start(crowd);
  const auto members = start(joined({asGroupMember(), crowd}));
  std::vector<std::chrono::nanoseconds> waits;
  const auto isOver = [](const Client& client) { return client->awaitSaid("over", 5ms); };
  const auto isAtWork = [](const Client& client) { return ProcessInspection::isAlive(client->pid()); };
  while (!(isOver(strangers) && isOver(members))) {
    ASSERT_TRUE(isAtWork(strangers) && isAtWork(members));
    const support::Stopwatch watch({helper()});
    const auto client = connect();
    const auto reply = client->await(client->startVersion());
    waits.push_back(watch.elapsed());
    ASSERT_TRUE(reply && reply->error.empty());
    expectGenuineServed();
    std::this_thread::sleep_for(20ms);
  }
  EXPECT_TRUE(strangers->awaitSaid(count + " refused"));
  EXPECT_TRUE(members->awaitSaid(count + " refused"));
  ASSERT_GE(waits.size(), 5U);
  EXPECT_LT(*std::ranges::max_element(waits), isSanitized ? 1000ms : 100ms);
}

}  // namespace
}  // namespace wicket::integration
