// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/integration/AttackTest.h"
#include "tests/support/Machine.h"

namespace wicket::integration {
namespace {

using namespace std::chrono_literals;
using support::StandIn;

/// Processes that are not the companion, or not the companion any more, or not alone with it.
class ProcessAttackTest : public AttackTest {
 protected:
  /// A process that would be the companion but for its file, and has the group all the same.
  static Client startWithGroup(const std::string& program) {
    return start(joined({withGroupInEffect("0"), {"execute", program}, connectAndAsk()}));
  }
  static Client startUserWithGroup(const Steps& before, const std::string& program = companion) {
    return start(joined({withGroupInEffect(user), before, {"execute", program}, connectAndAsk()}));
  }
};

TEST_F(ProcessAttackTest, TheCompanionOfAnOrdinaryUserIsServed) { expectServed(startCompanion()); }

TEST_F(ProcessAttackTest, APlainProcessIsRefused) {
  expectRefused(start(connectAndAsk()));
  expectRefused(start(joined({asGroupMember(), connectAndAsk()})));
  expectUnreachable(start(joined({asUser(), connectAndAsk()})));
}

TEST_F(ProcessAttackTest, AHardLinkAndASymbolicLinkToTheCompanionAreTheCompanion) {
  std::filesystem::create_hard_link(companion, "/run/hard");
  expectServed(startCompanion("/run/hard"));
  std::filesystem::create_symlink(companion, "/run/symbolic");
  expectServed(startCompanion("/run/symbolic"));
}

TEST_F(ProcessAttackTest, ACopyWithoutTheSetGroupBitIsRefused) {
  ASSERT_EQ(::chmod(companion.c_str(), 0755), 0);
  expectRefused(startWithGroup(companion));
  expectRefused(startUserWithGroup({}));
  expectUnreachable(startCompanion());
}

TEST_F(ProcessAttackTest, AFileThatIsNotRootsAloneIsRefused) {
  for (const unsigned mode : {02775U, 02757U, 02777U, 02745U}) {
    ASSERT_TRUE(CompanionStage::giveGroup(companion, mode));
    expectRefused(startWithGroup(companion));
  }
  constexpr uid_t somebody = 65534;
  ASSERT_EQ(::chown(companion.c_str(), somebody, static_cast<gid_t>(-1)), 0);
  ASSERT_EQ(::chmod(companion.c_str(), 02755), 0);
  expectRefused(startWithGroup(companion));
  ASSERT_EQ(::chown(companion.c_str(), 0, somebody), 0);
  ASSERT_EQ(::chmod(companion.c_str(), 02755), 0);
  expectRefused(start(joined({withGroupInEffect("0"), connectAndAsk()})));
  ASSERT_TRUE(CompanionStage::giveGroup(companion));
  expectServed(startWithGroup(companion));
}

TEST_F(ProcessAttackTest, TheCompanionOnANosuidMountIsRefused) {
  support::PrivateFolders folders;
  ASSERT_TRUE(folders.replace("/run/nosuid"));
  const std::string there = "/run/nosuid/companion";
  ASSERT_TRUE(CompanionStage::installAsCompanion(CompanionStage::standIn(), there));
  expectServed(startCompanion(there));
  ASSERT_EQ(::mount(nullptr, "/run/nosuid", nullptr, MS_REMOUNT | MS_BIND | MS_NOSUID, nullptr), 0);
  expectUnreachable(startCompanion(there));
  expectRefused(startWithGroup(there));
  expectRefused(startUserWithGroup({}, there));
}

TEST_F(ProcessAttackTest, TheCompanionUnderNoNewPrivilegesIsRefused) {
  expectUnreachable(startCompanion(companion, {"no-new-privileges"}));
  // Whoever has the group without the bit has it himself.
  expectRefused(start(joined({asGroupMember(), {"no-new-privileges", "execute", companion}, connectAndAsk()})));
}

TEST_F(ProcessAttackTest, TheCompanionInsideAUserNamespaceIsRefused) {
  WICKET_NEEDS(support::Need::userNamespace);
  expectUnreachable(startCompanion(companion, {"user-namespace"}));
  expectRefused(startUserWithGroup({"user-namespace"}));
  // Whoever made the namespace rules in it, whatever his number.
  expectRefused(start(joined({withGroupInEffect("0"), {"user-namespace", "execute", companion}, connectAndAsk()})));
}

TEST_F(ProcessAttackTest, ATracedCompanionIsRefused) {
  WICKET_NEEDS(support::Need::tracing);
  expectUnreachable(startCompanion(companion, {"fork-traced"}));
  expectRefused(startUserWithGroup({"fork-traced"}));
  // Only root can trace one that has its group from its file; the helper does not serve that either.
  const auto traced = start(joined({asUser(), {"execute", companion, "say", "here", "wait"}, connectAndAsk()}));
  ASSERT_TRUE(traced->awaitSaid("here"));
  ASSERT_EQ(::ptrace(PTRACE_SEIZE, traced->pid(), nullptr, nullptr), 0);
  traced->proceed();
  expectRefused(traced);
}

TEST_F(ProcessAttackTest, ACompanionIsNotServedOnceItIsTraced) {
  WICKET_NEEDS(support::Need::tracing);
  const auto traced =
      start(joined({asUser(), {"execute", companion, "connect", wire::socketPath, "say", "here", "wait"}, ask()}));
  ASSERT_TRUE(traced->awaitSaid("here"));
  ASSERT_EQ(::ptrace(PTRACE_SEIZE, traced->pid(), nullptr, nullptr), 0);
  traced->proceed();
  expectRefused(traced);
}

TEST_F(ProcessAttackTest, AnotherProcessOfTheUserCannotEnterTheCompanion) {
  const Steps wait{"connect", wire::socketPath, "say", "here", "wait"};
  const auto running = start(joined({asUser(), {"execute", companion}, wait, ask()}));
  ASSERT_TRUE(running->awaitSaid("here"));
  const auto intruder = start(joined({asUser(), {"intrude", std::to_string(running->pid())}}));
  EXPECT_TRUE(intruder->awaitSaid("kept out"));
  running->proceed();
  expectServed(running);
  // The same hands do enter a process without the bit.
  const auto ordinary = start(joined({asUser(), {"execute", plain, "say", "here", "wait"}}));
  ASSERT_TRUE(ordinary->awaitSaid("here"));
  EXPECT_TRUE(start(joined({asUser(), {"intrude", std::to_string(ordinary->pid())}}))->awaitSaid("entered"));
}

TEST_F(ProcessAttackTest, AnotherProcessOfTheUserCannotEnterTheCommand) {
  addScript("wait.sh", "#!/bin/bash\necho started\nsleep 1000\n");
  const auto command = start(joined({asUser(), {"execute", commandExecutable(), "run", "wait.sh"}}));
  ASSERT_TRUE(command->awaitSaid("started"));
  const auto intruder = start(joined({asUser(), {"intrude", std::to_string(command->pid())}}));
  EXPECT_TRUE(intruder->awaitSaid("kept out"));
}

TEST_F(ProcessAttackTest, ACompanionWhoseFileIsDeletedBeforeItsCheckIsRefused) {
  const auto client = start(joined({asUser(), {"execute", companion, "say", "here", "wait"}, connectAndAsk()}));
  ASSERT_TRUE(client->awaitSaid("here"));
  std::filesystem::remove(companion);
  client->proceed();
  expectRefused(client);
}

TEST_F(ProcessAttackTest, ACompanionWhoseFileIsReplacedBeforeItsCheckIsRefused) {
  const auto client = start(joined({asUser(), {"execute", companion, "say", "here", "wait"}, connectAndAsk()}));
  ASSERT_TRUE(client->awaitSaid("here"));
  ASSERT_TRUE(CompanionStage::installAsCompanion(CompanionStage::standIn(), "/run/newer"));
  std::filesystem::rename("/run/newer", companion);
  client->proceed();
  expectRefused(client);
  // Its successor is served.
  expectServed(startCompanion());
}

TEST_F(ProcessAttackTest, ACompanionThatIsReplacedAfterItsCheckIsServedToItsEnd) {
  const auto client =
      start(joined({asUser(), {"execute", companion}, connectAndAsk(), {"wait", "send", callFile, "hear"}}));
  expectServed(client);
  ASSERT_TRUE(CompanionStage::installAsCompanion(CompanionStage::standIn(), "/run/newer"));
  std::filesystem::rename("/run/newer", companion);
  client->proceed();
  EXPECT_TRUE(client->awaitSaid("served\nserved"));
  EXPECT_TRUE(eventually([] { return std::filesystem::exists("/run/witness"); }));
  std::filesystem::remove("/run/witness");
}

TEST_F(ProcessAttackTest, AProgramThatOnlyMemoryHoldsIsRefused) {
  expectUnreachable(start(joined({asUser(), {"execute-from-memory", companion}, connectAndAsk()})));
  for (const std::string& who : {user, std::string("0")}) {
    expectRefused(start(joined({withGroupInEffect(who), {"execute-from-memory", companion}, connectAndAsk()})));
  }
}

}  // namespace
}  // namespace wicket::integration
