// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "helper/script/RunCommand.h"
#include "tests/doubles/InMemoryFileManager.h"
#include "tests/doubles/RecordingConnection.h"
#include "tests/doubles/ScriptedChildProcessLauncher.h"

namespace wicket {
namespace {

using doubles::FileOperation;
using doubles::InMemoryFileManager;
using doubles::RecordingConnection;
using doubles::ScriptedChildProcessLauncher;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class RunCommandTest : public testing::Test {
 protected:
  RunCommandTest() {
    files.addDirectory("/var");
    files.addDirectory("/var/orvane");
  }

  std::vector<ReplyCode> run(const std::string& filename, const std::vector<std::string>& arguments = {}) {
    codes.clear();
    RunCommand::runTask(
        files, launcher, filename, arguments, [this] { return newest; },
        [this](ReplyCode code) { codes.push_back(code); });
    return codes;
  }

  InMemoryFileManager files;
  ScriptedChildProcessLauncher launcher;
  std::shared_ptr<RecordingConnection> client = std::make_shared<RecordingConnection>();
  std::shared_ptr<Connection> newest = client;
  std::vector<ReplyCode> codes;
};

TEST_F(RunCommandTest, ANameThatNamesNoFileYieldsTheNotFoundLineAnd756AndLaunchesNothing) {
  EXPECT_THAT(run("gone \"x\".sh"), ElementsAre(756));
  EXPECT_THAT(client->lines(), ElementsAre("ERROR: The priviliged script \"gone \"x\".sh\" was not executed, as it was "
                                           "not found. Please install it again."));
  EXPECT_THAT(launcher.attempts(), IsEmpty());
}

TEST_F(RunCommandTest, ANameWithSlashesOrParentStepsIsJoinedAsItIsAndRun) {
  files.addDirectory("/var/orvane/sub");
  files.addFile("/var/orvane/sub/a.sh", "#!/bin/sh\n");
  files.addFile("/var/b.sh", "#!/bin/sh\n");
  EXPECT_THAT(run("sub/a.sh"), ElementsAre(0));
  EXPECT_THAT(run("../b.sh"), ElementsAre(0));
  ASSERT_THAT(launcher.children(), SizeIs(2));
  EXPECT_THAT(launcher.children()[0]->arguments(), ElementsAre("/var/orvane/sub/a.sh"));
  EXPECT_THAT(launcher.children()[1]->arguments(), ElementsAre("/var/orvane/../b.sh"));
}

TEST_F(RunCommandTest, AFileThatCannotBeReadYieldsBothLinesAnd367) {
  files.addFile("/var/orvane/a.sh", "#!/bin/sh\n");
  files.fail(FileOperation::readFile, "/var/orvane/a.sh", EACCES);
  EXPECT_THAT(run("a.sh"), ElementsAre(367));
  EXPECT_THAT(client->lines(),
              ElementsAre("ERROR: Unable to read script at /var/orvane/a.sh.",
                          "ERROR: Privileged script at /var/orvane/a.sh was not executed, as it could not be read."));
  EXPECT_THAT(launcher.attempts(), IsEmpty());
}

TEST_F(RunCommandTest, AnEmptyNameIsTheFolderWhichExistsButCannotBeRead) {
  EXPECT_THAT(run(""), ElementsAre(367));
  EXPECT_THAT(client->lines(),
              ElementsAre("ERROR: Unable to read script at /var/orvane/.",
                          "ERROR: Privileged script at /var/orvane/ was not executed, as it could not be read."));
}

TEST_F(RunCommandTest, WithoutARegisteredConnectionTheCodesAreStillSent) {
  newest = nullptr;
  files.addFile("/var/orvane/bad.sh", "\xFF");
  EXPECT_THAT(run("gone.sh"), ElementsAre(756));
  EXPECT_THAT(run("bad.sh"), ElementsAre(367));
  EXPECT_THAT(client->lines(), IsEmpty());
}

TEST_F(RunCommandTest, AScriptThatLaunchesReplies0EvenIfItLaterFails) {
  files.addFile("/var/orvane/a.sh", "#!/bin/sh\nexit 5\n");
  EXPECT_THAT(run("a.sh"), ElementsAre(0));
  launcher.children().at(0)->terminate(5);
  EXPECT_THAT(codes, ElementsAre(0, 5));
}

TEST_F(RunCommandTest, AnEmptyArgumentsArrayRunsTheScriptWithTheArgumentsOfItsShebangAlone) {
  files.addFile("/var/orvane/a.sh", "#!/bin/bash -e -x\n");
  run("a.sh");
  EXPECT_EQ(launcher.children().at(0)->launchPath(), "/bin/bash");
  EXPECT_THAT(launcher.children().at(0)->arguments(), ElementsAre("-e", "-x", "/var/orvane/a.sh"));
}

TEST_F(RunCommandTest, TheClientsArgumentsDoNotReachTheChild) {
  files.addFile("/var/orvane/a.sh", "#!/bin/sh\n");
  run("a.sh", {"one", "two"});
  EXPECT_THAT(launcher.children().at(0)->arguments(), ElementsAre("/var/orvane/a.sh"));
}

TEST_F(RunCommandTest, AScriptWithoutAShebangReplies411) {
  files.addFile("/var/orvane/a.sh", "echo hi\n");
  EXPECT_THAT(run("a.sh"), ElementsAre(411));
}

TEST_F(RunCommandTest, ALaunchThatFailsReplies681) {
  files.addFile("/var/orvane/a.sh", "#!/no/such/tool\n");
  launcher.failWith(ENOENT);
  EXPECT_THAT(run("a.sh"), ElementsAre(681));
}

TEST_F(RunCommandTest, AScriptsLinesGoToTheConnectionThatWasNewestWhenItWasCreated) {
  files.addFile("/var/orvane/a.sh", "#!/bin/sh\n");
  run("a.sh");
  newest = std::make_shared<RecordingConnection>();
  launcher.children().at(0)->writeOutput("output");
  EXPECT_THAT(client->lines(), ElementsAre("Script at /var/orvane/a.sh was executed successfully.", "output"));
}

TEST_F(RunCommandTest, TheNewestConnectionIsAskedForAtTheMomentItIsNeeded) {
  const auto later = std::make_shared<RecordingConnection>();
  files.addFile("/var/orvane/bad.sh", "\xFF");
  int asked = 0;
  RunCommand::runTask(
      files, launcher, "bad.sh", {}, [&]() -> std::shared_ptr<Connection> { return ++asked == 1 ? client : later; },
      [](ReplyCode) {});
  EXPECT_EQ(asked, 2);
  EXPECT_THAT(client->lines(), ElementsAre("ERROR: Unable to read script at /var/orvane/bad.sh."));
  EXPECT_THAT(later->lines(), ElementsAre("ERROR: Privileged script at /var/orvane/bad.sh was not executed, as it "
                                          "could not be read."));
}

}  // namespace
}  // namespace wicket
