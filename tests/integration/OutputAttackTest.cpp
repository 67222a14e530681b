// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/integration/IntegrationTest.h"
#include "tests/support/AsUser.h"
#include "tests/support/Program.h"

namespace wicket::integration {
namespace {

using support::Program;
using ::testing::HasSubstr;
using ::testing::Not;

/// Two users have connections at the same time.
class OutputAttackTest : public IntegrationTest {
 protected:
  /// The command of an ordinary user, whose script says "mine" and ends when it may.
  static std::future<Program> startCommandOfUser() {
    addScript("mine.sh",
              "#!/bin/bash\necho mine\necho > /run/mine.started\nwhile [ ! -e /run/go ]; do sleep 0.05; done\n");
    auto program = std::async(std::launch::async, [] {
      return Program::run(
          {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", commandExecutable(), "run", "mine.sh"});
    });
    EXPECT_TRUE(eventually([] { return std::filesystem::exists("/run/mine.started"); }));
    return program;
  }
};

TEST_F(OutputAttackTest, AUserWhoConnectsLaterHearsNothingOfAnothersCalls) {
  const auto path = addScript("secret.sh", "#!/bin/bash\necho secret\nexit 3\n");
  const auto victim = connectAndGreet();
  auto spy = startCommandOfUser();
  EXPECT_EQ(victim->awaitExit(victim->startRun("secret.sh")), 3);
  EXPECT_EQ(victim->awaitCode(victim->startRun("missing.sh")), 756);
  EXPECT_EQ(victim->awaitCode(victim->startInstall("/a,/b", {})), 156);
  EXPECT_TRUE(victim->awaitLog(line::notAuthorized("Invalid Authorization External Form Data")));
  EXPECT_EQ(victim->log(), line::success(path) + "secret\n" + line::failure(path, 3) + line::notFound("missing.sh") +
                               line::notAuthorized("Invalid Authorization External Form Data"));
  writeFile("/run/go", "");
  const auto heard = spy.get();
  EXPECT_EQ(heard.output, "mine\n");
  EXPECT_EQ(heard.errors, "");
  EXPECT_EQ(heard.status, 0);
}

TEST_F(OutputAttackTest, AUserHearsHisOwnScriptThoughRootHasConnectedSince) {
  auto user = startCommandOfUser();
  addScript("other.sh", "#!/bin/bash\necho other\n");
  const auto root = connectAndGreet();
  EXPECT_EQ(root->awaitExit(root->startRun("other.sh")), 0);
  writeFile("/run/go", "");
  EXPECT_EQ(user.get().output, "mine\n");
  EXPECT_THAT(root->log(), Not(HasSubstr("mine")));
}

TEST_F(OutputAttackTest, AClientThatStopsReadingHoldsUpTheScriptsOfItsOwnUserOnly) {
  addScript("much.sh", "#!/bin/bash\nexec yes\n");
  addScript("quick.sh", "#!/bin/bash\nfor i in {1..1000}; do echo $i; done\nexit 3\n");
  const auto root = connectAndGreet();
  const auto stopped = [] {
    const support::AsUser as(4001);
    return connect();
  }();
  EXPECT_EQ(stopped->awaitCode(stopped->startRun("much.sh")), 0);
  EXPECT_EQ(root->awaitExit(root->startRun("quick.sh")), 3);
  EXPECT_THAT(root->log(), HasSubstr("\n1000\n"));
  EXPECT_THAT(root->log(), Not(HasSubstr("y\n")));
}

}  // namespace
}  // namespace wicket::integration
