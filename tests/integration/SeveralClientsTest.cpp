// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/integration/IntegrationTest.h"

namespace wicket::integration {
namespace {

using namespace std::chrono_literals;

using SeveralClientsTest = IntegrationTest;

TEST_F(SeveralClientsTest, LinesGoToTheNewestClientAndRepliesToTheCaller) {
  const auto path = addScript("job.sh", "#!/bin/bash\necho out\nexit 3\n");
  const auto older = connectAndGreet();
  const auto newer = connectAndGreet();
  const auto serial = older->startRun("job.sh");
  EXPECT_EQ(older->awaitCode(serial), 0);
  EXPECT_EQ(older->awaitExit(serial), 3);
  EXPECT_TRUE(newer->awaitLog(line::failure(path, 3)));
  EXPECT_NE(newer->log().find(line::success(path)), std::string::npos);
  EXPECT_NE(newer->log().find("out\n"), std::string::npos);
  older->pumpFor(200ms);
  EXPECT_EQ(older->log(), "");
  EXPECT_TRUE(newer->laterReports(serial).empty());
}

TEST_F(SeveralClientsTest, ARunKeepsTheClientThatWasNewestWhenItWasCalled) {
  const auto path = addScript("slow.sh", "#!/bin/bash\nwhile [ ! -e /run/go ]; do sleep 0.05; done\necho late\n");
  const auto caller = connectAndGreet();
  const auto serial = caller->startRun("slow.sh");
  EXPECT_EQ(caller->awaitCode(serial), 0);
  const auto newer = connectAndGreet();
  writeFile("/run/go", "");
  EXPECT_EQ(caller->awaitExit(serial), 0);
  EXPECT_TRUE(caller->awaitLog("late\n"));
  newer->pumpFor(200ms);
  EXPECT_EQ(newer->log(), "");
}

TEST_F(SeveralClientsTest, TheNewestClientIsStillTheNewestAfterItHasGone) {
  const auto caller = connectAndGreet();
  connectAndGreet().reset();
  EXPECT_EQ(caller->awaitCode(caller->startRun("missing.sh")), 756);
  caller->pumpFor(300ms);
  EXPECT_EQ(caller->log(), "");
}

TEST_F(SeveralClientsTest, ErrorLinesOfOneClientReachTheNewest) {
  const auto caller = connectAndGreet();
  const auto newest = connectAndGreet();
  EXPECT_EQ(caller->awaitCode(caller->startRun("missing.sh")), 756);
  EXPECT_TRUE(newest->awaitLog(line::notFound("missing.sh")));
  EXPECT_EQ(caller->awaitCode(caller->startInstall("/a,/b", {})), 156);
  EXPECT_TRUE(newest->awaitLog(line::notAuthorized("Invalid Authorization External Form Data")));
  EXPECT_EQ(caller->log(), "");
}

TEST_F(SeveralClientsTest, TwoRunsAtOnceReportUnderTheSerialsOfTheirOwnRequests) {
  addScript("first.sh", "#!/bin/bash\nuntil [[ -e /run/go ]]; do sleep 0.02; done\nexit 11\n");
  addScript("second.sh", "#!/bin/bash\nexit 12\n");
  const auto client = connectAndGreet();
  const auto first = client->startRun("first.sh");
  const auto second = client->startRun("second.sh");
  ASSERT_NE(first, second);
  EXPECT_EQ(client->awaitExit(second), 12);
  EXPECT_TRUE(client->laterReports(first).empty());
  writeFile("/run/go", "");
  EXPECT_EQ(client->awaitExit(first), 11);
}

TEST_F(SeveralClientsTest, FiftyClientsAreServedByOneProcess) {
  std::vector<std::unique_ptr<BusClient>> clients;
  for (int i = 0; i < 50; ++i) clients.push_back(connect());
  for (const auto& client : clients) {
    const auto reply = client->await(client->startVersion());
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->text, "9417");
  }
  EXPECT_EQ(activator().lives().size(), 1U);
}

}  // namespace
}  // namespace wicket::integration
