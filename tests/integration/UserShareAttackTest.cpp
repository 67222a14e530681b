// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <atomic>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <thread>
#include <vector>

#include "tests/integration/IntegrationTest.h"
#include "tests/support/AsUser.h"
#include "tests/support/Program.h"
#include "tests/support/Stopwatch.h"
#include "wire/BusNames.h"
#include "wire/UserLimits.h"

namespace wicket::integration {
namespace {

using namespace std::chrono_literals;
using support::AsUser;
using support::Program;
using support::RawClient;
using testing::HasSubstr;

constexpr uid_t attacker = 4001;

/// One user takes as much of the helper as he can get; the others must not notice.
class UserShareAttackTest : public IntegrationTest {
 protected:
  static std::unique_ptr<BusClient> connectAsAttacker() {
    const AsUser as(attacker);
    return connect();
  }
  static std::string sleepingScript() { return addScript("sleep.sh", "#!/bin/bash\nexec sleep 600\n"); }
  static Program commandOfAttacker(const std::string& name, const std::string& argument) {
    const std::string number = std::to_string(attacker);
    std::vector<std::string> words{"setpriv",        "--reuid=" + number, "--regid=" + number,
                                   "--clear-groups", commandExecutable(), name};
    if (!argument.empty()) words.push_back(argument);
    return Program::run(words);
  }
  /// How long somebody else waits for an answer.
  std::chrono::nanoseconds waitOfAnother() const {
    const support::Stopwatch watch({helperPid()});
    const auto client = connect();
    const auto reply = client->await(client->startVersion());
    EXPECT_TRUE(reply && reply->error.empty());
    return watch.elapsed();
  }
  static constexpr std::chrono::milliseconds mostWait{isSanitized ? 2000 : 200};
};

TEST_F(UserShareAttackTest, ThreeHundredCompanionsThatSayNothingHoldUpNobodyElse) {
  const auto first = connectAndGreet();
  std::vector<std::unique_ptr<RawClient>> silent;
  {
    const AsUser as(attacker);
    for (int i = 0; i < 300; ++i) silent.push_back(std::make_unique<RawClient>(wire::socketPath));
  }
  for (int i = 0; i < 5; ++i) EXPECT_LT(waitOfAnother(), mostWait);
  EXPECT_EQ(Program::run({commandExecutable(), "version"}).status, 0);
}

TEST_F(UserShareAttackTest, WhoeverHasTooManyConnectionsIsToldWhichLimitThatIs) {
  std::vector<std::unique_ptr<BusClient>> clients;
  for (unsigned i = 0; i < wire::openConnections.most; ++i) {
    clients.push_back(connectAsAttacker());
    const auto reply = clients.back()->await(clients.back()->startVersion());
    ASSERT_TRUE(reply && reply->error.empty()) << i;
  }
  const auto told = commandOfAttacker("version", "");
  EXPECT_EQ(told.status, 125);
  EXPECT_THAT(told.errors,
              HasSubstr("You have 32 connections to the helper open, which is as many as a user may have"));
  const auto report = commandOfAttacker("doctor", "");
  EXPECT_EQ(report.status, 1);
  EXPECT_THAT(report.output, HasSubstr("The helper takes no more of your connections"));
  EXPECT_EQ(Program::run({commandExecutable(), "version"}).status, 0);
}

TEST_F(UserShareAttackTest, ManyQuickConnectionsHoldUpNobodyElse) {
  const auto first = connectAndGreet();
  std::atomic<bool> isOver = false;
  std::atomic<int> count = 0;
  std::thread flood([&] {
    const AsUser as(attacker);
    for (; !isOver; ++count) {
      const RawClient quick(wire::socketPath);
      std::this_thread::sleep_for(isSanitized ? 10ms : 900us);
    }
  });
  std::vector<std::chrono::nanoseconds> waits;
  const int enough = isSanitized ? 200 : 3000;
  while (count < enough || waits.size() < 5) waits.push_back(waitOfAnother());
  isOver = true;
  flood.join();
  EXPECT_LT(*std::ranges::max_element(waits), mostWait);
}

TEST_F(UserShareAttackTest, WhoeverRunsTooManyScriptsIsToldSoAndTheOthersRunTheirs) {
  sleepingScript();
  addScript("quick.sh", "#!/bin/bash\nexit 3\n");
  const auto client = connectAsAttacker();
  for (unsigned i = 0; i < wire::runningScripts.most; ++i) {
    ASSERT_EQ(client->awaitCode(client->startRun("sleep.sh")), 0) << i;
  }
  const auto told = commandOfAttacker("run", "sleep.sh");
  EXPECT_EQ(told.status, 125);
  EXPECT_THAT(told.errors, HasSubstr("You have 64 scripts running, which is as many as a user may have"));
  EXPECT_LT(waitOfAnother(), mostWait);
  EXPECT_EQ(Program::run({commandExecutable(), "run", "quick.sh"}).status, 3);
  // One that ends makes room.
  const auto children = ProcessInspection::childrenOf(helperPid());
  ASSERT_EQ(children.size(), wire::runningScripts.most);
  ::kill(children.front(), SIGKILL);
  EXPECT_TRUE(eventually([&] { return client->awaitCode(client->startRun("sleep.sh")) == 0; }));
}

TEST_F(UserShareAttackTest, TheHelperMayHaveManyDescriptorsAndAScriptAsManyAsUsual) {
  rlimit own{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &own), 0);
  const rlimit usual{1024, own.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &usual), 0);
  addScript("limit.sh", "#!/bin/bash\nulimit -Sn\nulimit -Hn\n");
  const auto client = connectAndGreet();
  EXPECT_EQ(client->awaitExit(client->startRun("limit.sh")), 0);
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &own), 0);
  EXPECT_THAT(client->log(), HasSubstr("1024\n" + std::to_string(own.rlim_max) + "\n"));
  rlimit ofHelper{};
  ASSERT_EQ(::prlimit(helperPid(), RLIMIT_NOFILE, nullptr, &ofHelper), 0);
  EXPECT_EQ(ofHelper.rlim_cur, own.rlim_max);
}

TEST_F(UserShareAttackTest, AHelperWithoutDescriptorsLetsACompanionWaitAndTakesItForNoStranger) {
  const auto first = connectAndGreet();
  const auto used = static_cast<rlim_t>(ProcessInspection::descriptorCount(helperPid()));
  rlimit before{};
  // Enough to accept somebody, and not to look at him. Numbers that are free below are few.
  ASSERT_EQ(::prlimit(helperPid(), RLIMIT_NOFILE, nullptr, &before), 0);
  const rlimit tight{used + 5, before.rlim_max};
  ASSERT_EQ(::prlimit(helperPid(), RLIMIT_NOFILE, &tight, nullptr), 0);
  const auto waiting = connect();
  const auto call = waiting->startVersion();
  EXPECT_FALSE(waiting->await(call, 500ms)) << "it waits";
  ASSERT_EQ(::prlimit(helperPid(), RLIMIT_NOFILE, &before, nullptr), 0);
  const auto reply = waiting->await(call);
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->error, "");
}

}  // namespace
}  // namespace wicket::integration
