// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/integration/AttackTest.h"
#include "tests/support/Machine.h"
#include "tests/support/Program.h"

namespace wicket::integration {
namespace {

using support::Program;

/// Somebody has the companion's group himself, so that a process of his may have it in effect without the kernel's
/// protection for what a set-group file has started: it loads his libraries and can be traced by him. Then it makes
/// itself look like the companion.
class GroupAttackTest : public AttackTest {
 protected:
  static std::string group() { return CompanionStage::groupNumber(); }
  /// With sg(1) or newgrp(1): they add it to the supplementary groups as well.
  static Steps bySg() { return {"become-with", user, group(), group(), group()}; }
  static Steps byPrimaryGroup() { return {"become-with", user, group(), group(), ""}; }
  static Steps bySupplementaryGroup() { return {"become-with", user, user, user, group()}; }
  /// By a set-group file of his own: it has his own group in effect and the companion's as its real one. Then it
  /// exchanges them.
  static Steps byExchange() {
    return {"become-with", user, group(), group(), group(), "execute", "/run/own", "exchange-groups"};
  }
  static std::vector<Steps> allWays() { return {bySg(), byPrimaryGroup(), bySupplementaryGroup(), byExchange()}; }

  void SetUp() override {
    AttackTest::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    std::filesystem::copy_file(CompanionStage::standIn(), "/run/own");
    constexpr uid_t somebody = 65534;
    ASSERT_EQ(::chown("/run/own", somebody, somebody), 0);
    ASSERT_EQ(::chmod("/run/own", 02755), 0);
    std::filesystem::copy_file(CompanionStage::intruder(), library);
  }

  /// The installed command with a library of the attacker's, which does the same before the command begins.
  static Program commandWithLibrary(const Steps& way) {
    Steps words{plain};
    words.insert(words.end(), way.begin(), way.end());
    const std::string steps = "undumpable connect " + std::string(wire::socketPath) + " request " + callFile + " hear";
    words.insert(words.end(), {"environment", "LD_PRELOAD=" + library, "environment", "WICKET_STEPS=" + steps,
                               "execute", commandExecutable(), "run", "witness.sh"});
    return Program::run(words);
  }
  static bool wasLoaded() { return std::filesystem::remove("/var/tmp/intruder.was.here"); }

  inline static const std::string library = "/var/tmp/intruder.so";
};

TEST_F(GroupAttackTest, AMemberOfTheGroupIsRefusedAlthoughHisProcessIsUnreadable) {
  for (const Steps& way : allWays()) {
    expectRefused(start(joined({way, {"execute", companion, "undumpable"}, connectAndAsk()})));
  }
}

TEST_F(GroupAttackTest, RootIsRefusedWhereItHasTheGroupItself) {
  expectRefused(start(joined({{"become", "0", group(), "execute", companion}, connectAndAsk()})));
  expectRefused(start(joined({{"become-with", "0", "0", "0", group(), "execute", companion}, connectAndAsk()})));
}

TEST_F(GroupAttackTest, AMemberWhoAltersTheCompanionWhileItStartsIsRefused) {
  WICKET_NEEDS(support::Need::tracing);
  const Steps started{"execute", companion, "say", "genuine", "undumpable"};
  for (const Steps& way : allWays()) {
    const auto client = start(joined({way, {"fork-altered", "genuine", "altered"}, started, connectAndAsk()}));
    expectRefused(client);
  }
  // His tracer did have it in its hands.
  const auto client = start(joined({bySg(), {"fork-altered", "genuine", "altered"}, started, {"wait"}}));
  EXPECT_TRUE(client->awaitSaid("altered"));
}

TEST_F(GroupAttackTest, ALibraryInTheCommandOfAMemberIsRefused) {
  for (const Steps& way : {bySg(), byPrimaryGroup()}) {
    const auto command = commandWithLibrary(way);
    EXPECT_TRUE(wasLoaded()) << "the attack is none";
    EXPECT_TRUE(command.output.starts_with("refused\n")) << command.output;
    EXPECT_NE(command.status, 0) << command.errors;
    expectNoEffect();
  }
}

TEST_F(GroupAttackTest, TheCommandOfAMemberIsRefusedEvenWithoutHisLibrary) {
  for (const Steps& way : {bySupplementaryGroup(), byExchange()}) {
    const auto command = commandWithLibrary(way);
    // An older kernel may load it where the groups were exchanged.
    EXPECT_TRUE(!wasLoaded() || command.output.starts_with("refused\n")) << command.output;
    EXPECT_NE(command.status, 0) << command.errors;
    expectNoEffect();
  }
}

}  // namespace
}  // namespace wicket::integration
