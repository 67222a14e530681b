// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/integration/IntegrationTest.h"

namespace wicket::integration {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// One client; runs are by name.
class ReplyCodesTest : public IntegrationTest {
 protected:
  void SetUp() override {
    IntegrationTest::SetUp();
    if (!IsSkipped() && !HasFatalFailure()) client_ = connect();
  }
  void TearDown() override {
    client_.reset();
    IntegrationTest::TearDown();
  }

  BusClient& client() { return *client_; }
  std::vector<std::string> lines() const {
    std::vector<std::string> texts;
    for (const auto& chunk : client_->chunks()) texts.push_back(chunk.text);
    return texts;
  }
  std::optional<std::int64_t> run(const std::string& name, const std::vector<std::string>& arguments = {}) {
    serial_ = client_->startRun(name, arguments);
    return client_->awaitCode(serial_);
  }
  std::optional<std::int64_t> exitStatus() { return client_->awaitExit(serial_); }
  BusClient::Serial serial() const { return serial_; }

 private:
  std::unique_ptr<BusClient> client_;
  BusClient::Serial serial_ = 0;
};

TEST_F(ReplyCodesTest, TheVersionIs9417) {
  const auto reply = client().await(client().startVersion());
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->error, "");
  EXPECT_EQ(reply->text, "9417");
}

TEST_F(ReplyCodesTest, AStartedRunAnswersZeroBeforeItEndsAndReportsItsExitStatusLater) {
  const auto path = addScript("job.sh", "#!/bin/bash\nuntil [[ -e /run/go ]]; do sleep 0.02; done\nexit 7\n");
  EXPECT_EQ(run("job.sh"), 0);
  client().pumpFor(200ms);
  EXPECT_THAT(client().laterReports(serial()), IsEmpty());
  writeFile("/run/go", "");
  EXPECT_EQ(exitStatus(), 7);
  client().pumpFor(200ms);
  EXPECT_EQ(client().laterReports(serial()).size(), 1U);
  EXPECT_THAT(lines(), ElementsAre(line::success(path), line::failure(path, 7)));
}

TEST_F(ReplyCodesTest, ARunThatEndsWellReportsZeroTwiceWithTwoSuccessLines) {
  const auto path = addScript("well.sh", "#!/bin/sh\nexit 0\n");
  EXPECT_EQ(run("well.sh"), 0);
  EXPECT_EQ(exitStatus(), 0);
  EXPECT_THAT(lines(), ElementsAre(line::success(path), line::success(path)));
}

TEST_F(ReplyCodesTest, ARunKilledByASignalReportsTheSignalsNumber) {
  const auto path = addScript("killed.sh", "#!/bin/bash\nkill -KILL $$\n");
  EXPECT_EQ(run("killed.sh"), 0);
  EXPECT_EQ(exitStatus(), 9);
  EXPECT_THAT(lines(), ElementsAre(line::success(path), line::failure(path, 9)));
}

TEST_F(ReplyCodesTest, AnExitStatusMayEqualAnyReplyCode) {
  addScript("odd.sh", "#!/bin/bash\nexit 156\n");
  EXPECT_EQ(run("odd.sh"), 0);
  EXPECT_EQ(exitStatus(), 156);
}

TEST_F(ReplyCodesTest, AMissingScriptAnswers756WithItsNameBetweenQuotes) {
  EXPECT_EQ(run("no such.sh"), 756);
  EXPECT_THAT(lines(), ElementsAre(line::notFound("no such.sh")));
}

TEST_F(ReplyCodesTest, AScriptWithoutAToolAnswers411) {
  const auto path = addScript("plain.sh", "echo hi > /run/was-started\n");
  EXPECT_EQ(run("plain.sh"), 411);
  EXPECT_THAT(lines(), ElementsAre(line::noTool(path)));
  client().pumpFor(300ms);
  EXPECT_THAT(client().laterReports(serial()), IsEmpty());
  EXPECT_FALSE(std::filesystem::exists("/run/was-started"));
}

TEST_F(ReplyCodesTest, AMissingToolAnswers681) {
  const auto path = addScript("tool.sh", "#!/no/such/tool -x\n");
  EXPECT_EQ(run("tool.sh"), 681);
  EXPECT_THAT(lines(), ElementsAre(line::failure(path, 681)));
  client().pumpFor(300ms);
  EXPECT_THAT(client().laterReports(serial()), IsEmpty());
}

TEST_F(ReplyCodesTest, AToolThatIsADirectoryAnswers681) {
  const auto path = addScript("tool.sh", "#!/usr/bin\n");
  EXPECT_EQ(run("tool.sh"), 681);
  EXPECT_THAT(lines(), ElementsAre(line::failure(path, 681)));
}

TEST_F(ReplyCodesTest, AToolThatIsNotExecutableAnswers681) {
  writeFile("/run/tool", "#!/bin/bash\nexit 0\n", 0644);
  const auto path = addScript("tool.sh", "#!/run/tool\n");
  EXPECT_EQ(run("tool.sh"), 681);
  EXPECT_THAT(lines(), ElementsAre(line::failure(path, 681)));
}

TEST_F(ReplyCodesTest, AToolOfNoKnownFormatAnswers681) {
  writeFile("/run/tool", "echo this is no program\n", 0755);
  const auto path = addScript("tool.sh", "#!/run/tool\n");
  EXPECT_EQ(run("tool.sh"), 681);
  EXPECT_THAT(lines(), ElementsAre(line::failure(path, 681)));
}

TEST_F(ReplyCodesTest, AToolThatIsItselfAScriptRunsThroughItsOwnTool) {
  writeFile("/var/tmp/tool", "#!/bin/bash\necho \"tool got $1\"\nexit 4\n", 0755);
  const auto path = addScript("tool.sh", "#!/var/tmp/tool\n");
  EXPECT_EQ(run("tool.sh"), 0);
  EXPECT_EQ(exitStatus(), 4);
  EXPECT_TRUE(client().awaitLog("tool got " + path + "\n"));
}

TEST_F(ReplyCodesTest, ADirectoryInTheScriptFolderCannotBeReadAndAnswers367) {
  std::filesystem::create_directories(scriptFolder + "folder.sh");
  EXPECT_EQ(run("folder.sh"), 367);
  const auto path = scriptFolder + "folder.sh";
  EXPECT_THAT(lines(), ElementsAre(line::unreadable(path), line::notExecuted(path)));
}

TEST_F(ReplyCodesTest, AScriptThatIsNotUtf8Answers367) {
  const auto path = addScript("latin.sh", "#!/bin/bash\necho caf\xE9\n");
  EXPECT_EQ(run("latin.sh"), 367);
  EXPECT_THAT(lines(), ElementsAre(line::unreadable(path), line::notExecuted(path)));
}

TEST_F(ReplyCodesTest, ANameIsJoinedAsItIsEvenOutOfTheScriptFolder) {
  addScript("inside.sh", "#!/bin/bash\nexit 1\n");
  writeFile("/var/tmp/outside.sh", "#!/bin/bash\necho ran as \"$0\"\nexit 21\n", 0500);
  EXPECT_EQ(run("../tmp/outside.sh"), 0);
  EXPECT_EQ(exitStatus(), 21);
  EXPECT_TRUE(client().awaitLog("ran as /var/orvane/../tmp/outside.sh\n"));
  EXPECT_TRUE(client().awaitLog(line::failure("/var/orvane/../tmp/outside.sh", 21)));
}

TEST_F(ReplyCodesTest, ANameWithASlashReachesASubfolder) {
  std::filesystem::create_directories(scriptFolder + "sub");
  addScript("sub/job.sh", "#!/bin/bash\nexit 22\n");
  EXPECT_EQ(run("sub/job.sh"), 0);
  EXPECT_EQ(exitStatus(), 22);
  EXPECT_EQ(run("/sub//job.sh"), 0);
  EXPECT_EQ(exitStatus(), 22);
}

TEST_F(ReplyCodesTest, TheClientsArgumentsDoNotReachTheChild) {
  addScript("arguments.sh", "#!/bin/bash -e\necho \"$# arguments of $0\"\n");
  EXPECT_EQ(run("arguments.sh", {"one", "two words"}), 0);
  EXPECT_EQ(exitStatus(), 0);
  EXPECT_TRUE(client().awaitLog("0 arguments of /var/orvane/arguments.sh\n"));
}

TEST_F(ReplyCodesTest, RemovingByNameAnswersZeroWhetherOrNotItIsThere) {
  const auto path = addScript("gone.sh", "#!/bin/sh\n");
  EXPECT_EQ(client().awaitCode(client().startUninstallNamed("gone.sh")), 0);
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_EQ(client().awaitCode(client().startUninstallNamed("gone.sh")), 0);
  EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(ReplyCodesTest, RemovingByNameActsOnThePathAsBuilt) {
  addScript("stays.sh", "#!/bin/sh\n");
  writeFile("/var/tmp/victim", "x");
  EXPECT_EQ(client().awaitCode(client().startUninstallNamed("../tmp/victim")), 0);
  EXPECT_FALSE(std::filesystem::exists("/var/tmp/victim"));
  EXPECT_TRUE(std::filesystem::exists(scriptFolder + "stays.sh"));
}

TEST_F(ReplyCodesTest, WhatCannotBeRemovedAnswers367) {
  support::PrivateFolders busy;
  std::filesystem::create_directories(scriptFolder);
  ASSERT_TRUE(busy.replace(scriptFolder + "mounted"));
  EXPECT_EQ(client().awaitCode(client().startUninstallNamed("mounted")), 367);
  EXPECT_TRUE(std::filesystem::exists(scriptFolder + "mounted"));
}

TEST_F(ReplyCodesTest, RemovingByPathsTakesTheSecondOneWhereverItLies) {
  writeFile("/var/tmp/first", "x");
  writeFile("/var/tmp/second", "x");
  EXPECT_EQ(client().awaitCode(client().startUninstallAt("/var/tmp/first,/var/tmp/second")), 0);
  EXPECT_TRUE(std::filesystem::exists("/var/tmp/first"));
  EXPECT_FALSE(std::filesystem::exists("/var/tmp/second"));
  EXPECT_EQ(client().awaitCode(client().startUninstallAt("/var/tmp/first,/var/tmp/second")), 367);
}

TEST_F(ReplyCodesTest, RemovingByPathsNeedsExactlyTwo) {
  writeFile("/var/tmp/only", "x");
  for (const char* paths : {"/var/tmp/only", "/var/tmp/only,", "", ",", "/a,/var/tmp/only,/b"}) {
    EXPECT_EQ(client().awaitCode(client().startUninstallAt(paths)), 367) << paths;
  }
  EXPECT_TRUE(std::filesystem::exists("/var/tmp/only"));
}

}  // namespace
}  // namespace wicket::integration
