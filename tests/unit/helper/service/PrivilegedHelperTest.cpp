// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors

#include <chrono>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "helper/service/PrivilegedHelper.h"
#include "tests/doubles/RecordingConnection.h"
#include "tests/doubles/TestPlatform.h"

namespace wicket {
namespace {

using namespace std::chrono_literals;
using doubles::FileOperation;
using doubles::RecordingConnection;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// A client that looks, at the moment it is resumed, whether its countdown already runs.
class CountdownWatchingConnection : public RecordingConnection {
 public:
  explicit CountdownWatchingConnection(doubles::VirtualMainQueue& mainQueue) : mainQueue_(mainQueue) {}
  void resume() override {
    armedTimersAtResume = mainQueue_.armedTimers();
    RecordingConnection::resume();
  }

  std::size_t armedTimersAtResume = 0;

 private:
  doubles::VirtualMainQueue& mainQueue_;
};

class PrivilegedHelperTest : public testing::Test {
 protected:
  void SetUp() override { platform_.listener().resume(); }
  /// Connections and helper hold each other until the connections are cut.
  void TearDown() override { platform_.mainQueue().advance(45s); }

  std::shared_ptr<RecordingConnection> connect() { return connectAs(501); }
  std::shared_ptr<RecordingConnection> connectAs(UserIdentifier user) {
    auto connection = std::make_shared<RecordingConnection>();
    connection->setEffectiveUser(user);
    EXPECT_EQ(platform_.listener().offer(connection), true);
    return connection;
  }
  /// What a client of its own calls.
  std::shared_ptr<RecordingConnection> call(const std::function<void(HelperProtocol&)>& action) {
    const auto connection = connect();
    connection->send(action);
    return connection;
  }
  HelperProtocol::CodeCompletion recordCode() {
    return [this](ReplyCode code) { codes_.push_back(code); };
  }
  static HelperProtocol::AuthorizationData validData() { return std::vector<std::byte>(32); }
  void makeScriptFolder() {
    platform_.fileManager().addDirectory("/var");
    platform_.fileManager().addDirectory("/var/orvane");
  }

  doubles::TestPlatform platform_;
  const std::shared_ptr<PrivilegedHelper> helper_ = std::make_shared<PrivilegedHelper>(platform_);
  std::vector<ReplyCode> codes_;
};

TEST_F(PrivilegedHelperTest, ListensForItsServiceAndWritesOneStartUpLine) {
  EXPECT_EQ(platform_.serviceName(), "net.orvane.Wicket.TlvPrivilegedHelper");
  EXPECT_EQ(platform_.listener().delegate(), helper_.get());
  EXPECT_THAT(platform_.unifiedLog().entries(), ElementsAre("TlvPrivilegedHelper was initialized... - "));
}

TEST_F(PrivilegedHelperTest, AnAcceptedClientIsConfiguredInOrderAndThenResumed) {
  const auto connection = connect();
  EXPECT_THAT(*connection->log(), ElementsAre("remoteObjectInterface AppProtocol", "exportedInterface HelperProtocol",
                                              "exportedObject", "invalidationHandler", "resume"));
}

TEST_F(PrivilegedHelperTest, AClientThatIsNotTheCompanionIsRefusedUntouchedUnregisteredAndUnlogged) {
  platform_.codeSigningServices().setRequirementStatus(code_signing_status::requirementFailed);
  const auto connection = std::make_shared<RecordingConnection>();
  EXPECT_EQ(platform_.listener().offer(connection), false);
  EXPECT_THAT(*connection->log(), IsEmpty());
  EXPECT_EQ(platform_.mainQueue().armedTimers(), 0U);
  EXPECT_THAT(platform_.unifiedLog().entries(), SizeIs(1)) << "only the start-up line";
}

TEST_F(PrivilegedHelperTest, AClientIsRegisteredBeforeItIsResumed) {
  const auto connection = std::make_shared<CountdownWatchingConnection>(platform_.mainQueue());
  EXPECT_EQ(platform_.listener().offer(connection), true);
  EXPECT_EQ(connection->armedTimersAtResume, 1U);
}

TEST_F(PrivilegedHelperTest, TheVersionIsTheBundlesBuildVersion) {
  std::vector<std::string> versions;
  call([&](HelperProtocol& helper) {
    helper.getVersion([&](const std::string& version) { versions.push_back(version); });
  });
  EXPECT_THAT(versions, ElementsAre("9417"));
}

TEST_F(PrivilegedHelperTest, TheVersionIs0WhenTheBundleLacksOne) {
  platform_.mainBundle().remove("CFBundleVersion");
  std::vector<std::string> versions;
  call([&](HelperProtocol& helper) {
    helper.getVersion([&](const std::string& version) { versions.push_back(version); });
  });
  EXPECT_THAT(versions, ElementsAre("0"));
}

TEST_F(PrivilegedHelperTest, RunsFullPassesOf45SecondsAndQuitsAtTheEndOfThePassInWhichTheLastClientWasCut) {
  platform_.mainQueue().advance(30s);
  const auto connection = connect();
  helper_->run();
  EXPECT_TRUE(connection->isInvalidated());
  EXPECT_TRUE(helper_->shouldQuit());
  EXPECT_THAT(platform_.mainQueue().passes(), ElementsAre(45s));
  EXPECT_EQ(platform_.mainQueue().now(), 75s);
}

TEST_F(PrivilegedHelperTest, TheListenerIsResumedBeforeTheFirstPassAndFinishedAfterTheLast) {
  connect();
  helper_->run();
  EXPECT_THAT(*platform_.listener().log(),
              ElementsAre("delegate", "resumeListener", "resumeListener", "finishListener"));
  EXPECT_FALSE(platform_.listener().isResumed());
}

TEST_F(PrivilegedHelperTest, TheFlagIsTestedBeforeTheFirstPass) {
  connect();
  platform_.mainQueue().advance(45s);
  helper_->run();
  EXPECT_THAT(platform_.mainQueue().passes(), IsEmpty());
}

TEST_F(PrivilegedHelperTest, DoesNotQuitWhileAnotherClientsCountdownRuns) {
  connect();
  platform_.mainQueue().advance(44s);
  connect();
  platform_.mainQueue().advance(1s);
  EXPECT_FALSE(helper_->shouldQuit());
  platform_.mainQueue().advance(44s);
  EXPECT_TRUE(helper_->shouldQuit());
}

TEST_F(PrivilegedHelperTest, AClientThatClosesEarlyDoesNotMakeTheHelperQuitThenOrWhenItsTimerFires) {
  const auto connection = connect();
  connection->close();
  EXPECT_FALSE(helper_->shouldQuit());
  platform_.mainQueue().advance(45s);
  EXPECT_FALSE(helper_->shouldQuit());
}

TEST_F(PrivilegedHelperTest, AnEntryLeftByAnEarlyCloserIsPrunedByALaterInvalidation) {
  connect()->close();
  platform_.mainQueue().advance(45s);
  connect();
  platform_.mainQueue().advance(45s);
  EXPECT_TRUE(helper_->shouldQuit());
}

TEST_F(PrivilegedHelperTest, AConnectionIsCutAfter45SecondsEvenWhileACallOnItRuns) {
  const auto connection = connect();
  bool cutDuringCall = false;
  connection->send([&](HelperProtocol&) {
    platform_.mainQueue().advance(45s);
    cutDuringCall = connection->isInvalidated();
    EXPECT_FALSE(helper_->shouldQuit()) << "the handler must wait for the call";
  });
  EXPECT_TRUE(cutDuringCall);
  EXPECT_TRUE(helper_->shouldQuit());
}

TEST_F(PrivilegedHelperTest, InstallationWithoutAuthorizationDataIsNotAuthorizedAndLeavesTheDiskUntouched) {
  const auto connection = call(
      [&](HelperProtocol& helper) { helper.installScript("/src/a.sh,/var/orvane/a.sh", std::nullopt, recordCode()); });
  EXPECT_THAT(codes_, ElementsAre(156));
  EXPECT_THAT(
      connection->lines(),
      ElementsAre(R"_(ERROR: Authentication failed with message("Invalid Authorization External Form Data"))_"));
  EXPECT_THAT(platform_.fileManager().calls(), IsEmpty());
}

TEST_F(PrivilegedHelperTest, ACancelledDialogIsReportedToTheClientAndAnsweredWith156) {
  platform_.authorizationServices().setRightsStatus(authorization_status::canceled);
  const auto connection = call(
      [&](HelperProtocol& helper) { helper.installScript("/src/a.sh,/var/orvane/a.sh", validData(), recordCode()); });
  EXPECT_THAT(codes_, ElementsAre(156));
  EXPECT_THAT(connection->lines(),
              ElementsAre("ERROR: Authentication failed with "
                          R"_(message("Optional(The authorization was canceled by the user.)"))_"));
}

TEST_F(PrivilegedHelperTest, AFailedVerificationWithoutAnyClientSendsNothingAndIsStillAnsweredWith156) {
  const auto connection = call([&](HelperProtocol& helper) {
    platform_.mainQueue().advance(45s);
    connectAs(1002)->close();  // its invalidation takes the one that was cut out of the registry
    helper.installScript("/src/a.sh,/var/orvane/a.sh", std::nullopt, recordCode());
  });
  EXPECT_THAT(codes_, ElementsAre(156));
  EXPECT_THAT(connection->lines(), IsEmpty());
}

TEST_F(PrivilegedHelperTest, AFailedVerificationIsReportedToTheNewestClientWhoeverAsked) {
  const auto older = connect();
  const auto newest = connect();
  older->send([&](HelperProtocol& helper) { helper.installScript("a,b", std::nullopt, recordCode()); });
  EXPECT_THAT(older->lines(), IsEmpty());
  EXPECT_THAT(newest->lines(), SizeIs(1));
}

TEST_F(PrivilegedHelperTest, WhatAUsersCallsSayReachesNoOtherUser) {
  makeScriptFolder();
  platform_.fileManager().addFile("/var/orvane/a.sh", "#!/bin/sh\n");
  const auto ofAlice = connectAs(1001);
  const auto ofBob = connectAs(1002);
  const auto ofRoot = connectAs(0);
  ofAlice->send([&](HelperProtocol& helper) {
    helper.installScript("a,b", std::nullopt, recordCode());
    helper.runCommand("missing.sh", {}, recordCode());
    helper.runCommand("a.sh", {}, recordCode());
  });
  platform_.childProcessLauncher().children().front()->writeOutput("hello");
  platform_.childProcessLauncher().children().front()->terminate(0);
  EXPECT_THAT(codes_, ElementsAre(156, 756, 0, 0));
  EXPECT_THAT(ofAlice->lines(), SizeIs(5));
  EXPECT_THAT(ofBob->lines(), IsEmpty());
  EXPECT_THAT(ofRoot->lines(), IsEmpty());
}

TEST_F(PrivilegedHelperTest, AnAuthorizedInstallationCopiesTheScriptForRootAlone) {
  makeScriptFolder();
  platform_.fileManager().addDirectory("/src");
  platform_.fileManager().addFile("/src/a.sh", "#!/bin/sh\n");
  call([&](HelperProtocol& helper) { helper.installScript("/src/a.sh,/var/orvane/a.sh", validData(), recordCode()); });
  EXPECT_THAT(codes_, ElementsAre(0));
  EXPECT_EQ(platform_.fileManager().content("/var/orvane/a.sh"), "#!/bin/sh\n");
  EXPECT_EQ(platform_.fileManager().attributes("/var/orvane/a.sh"), (FileAttributes{0500, 0, 0}));
}

TEST_F(PrivilegedHelperTest, AnAuthorizedInstallationThatFailsIsAnsweredWith590) {
  call([&](HelperProtocol& helper) { helper.installScript("/src/a.sh", validData(), recordCode()); });
  EXPECT_THAT(codes_, ElementsAre(590));
}

TEST_F(PrivilegedHelperTest, ARunsLinesGoToTheNewestClientWhoeverAsked) {
  makeScriptFolder();
  platform_.fileManager().addFile("/var/orvane/a.sh", "#!/bin/sh\n");
  const auto older = connect();
  const auto newest = connect();
  older->send([&](HelperProtocol& helper) { helper.runCommand("a.sh", {}, recordCode()); });
  ASSERT_THAT(platform_.childProcessLauncher().children(), SizeIs(1));
  platform_.childProcessLauncher().children().front()->writeOutput("hello");
  platform_.childProcessLauncher().children().front()->terminate(7);
  EXPECT_THAT(codes_, ElementsAre(0, 7));
  EXPECT_THAT(older->lines(), IsEmpty());
  EXPECT_THAT(newest->lines(),
              ElementsAre("Script at /var/orvane/a.sh was executed successfully.", "hello",
                          "ERROR: Execution of the script at /var/orvane/a.sh failed with exit code 7."));
}

TEST_F(PrivilegedHelperTest, RemovalByLocationAndByNameAnswerWithTheirCodes) {
  makeScriptFolder();
  platform_.fileManager().addFile("/var/orvane/a.sh", "");
  platform_.fileManager().addFile("/var/orvane/b.sh", "");
  call([&](HelperProtocol& helper) {
    helper.uninstallScriptAt("/src/a.sh,/var/orvane/a.sh", recordCode());
    helper.uninstallScriptAt("/var/orvane/b.sh", recordCode());
    helper.uninstallScriptWithFilename("b.sh", recordCode());
    helper.uninstallScriptWithFilename("b.sh", recordCode());
  });
  EXPECT_THAT(codes_, ElementsAre(0, 367, 0, 0));
  EXPECT_THAT(platform_.fileManager().entries("/var/orvane"), IsEmpty());
}

TEST_F(PrivilegedHelperTest, RemovingItselfLeavesTheScriptsAndStartsTheRemovalInAShell) {
  makeScriptFolder();
  platform_.serviceJob().setRemovalCommandLine("remove job && rm -Rf tool");
  const auto connection = call([](HelperProtocol& helper) { helper.uninstall(false); });
  EXPECT_NE(platform_.fileManager().item("/var/orvane"), std::nullopt);
  const auto children = platform_.childProcessLauncher().children();
  ASSERT_THAT(children, SizeIs(1));
  EXPECT_EQ(children.front()->launchPath(), "/bin/bash");
  EXPECT_THAT(children.front()->arguments(), ElementsAre("-c", "remove job && rm -Rf tool"));
  children.front()->writeOutput("output");
  children.front()->terminate(0);
  EXPECT_FALSE(helper_->shouldQuit());
  EXPECT_THAT(connection->lines(), IsEmpty());
}

TEST_F(PrivilegedHelperTest, RemovingItselfWithAllRemovesTheScriptFolderBeforeTheShellStarts) {
  makeScriptFolder();
  platform_.fileManager().addFile("/var/orvane/a.sh", "");
  bool goneAtLaunch = false;
  platform_.childProcessLauncher().onLaunch(
      [&](doubles::ScriptedChild&) { goneAtLaunch = !platform_.fileManager().item("/var/orvane").has_value(); });
  call([](HelperProtocol& helper) { helper.uninstall(true); });
  EXPECT_TRUE(goneAtLaunch);
}

TEST_F(PrivilegedHelperTest, RemovingItselfWithAllGoesOnWhenTheScriptFolderCannotBeRemovedOrIsMissing) {
  const auto connection = call([](HelperProtocol& helper) { helper.uninstall(true); });
  makeScriptFolder();
  platform_.fileManager().fail(FileOperation::removeItem, "/var/orvane", 5);
  connection->send([](HelperProtocol& helper) { helper.uninstall(true); });
  EXPECT_THAT(platform_.childProcessLauncher().attempts(), ElementsAre("/bin/bash", "/bin/bash"));
}

}  // namespace
}  // namespace wicket
