// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <condition_variable>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include "helper/script/PrivilegedScript.h"
#include "tests/doubles/InMemoryFileManager.h"
#include "tests/doubles/RecordingConnection.h"
#include "tests/doubles/ScriptedChildProcessLauncher.h"
#include "tests/support/Patience.h"

namespace wicket {
namespace {

using doubles::InMemoryFileManager;
using doubles::RecordingConnection;
using doubles::ScriptedChildProcessLauncher;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

class PrivilegedScriptTest : public testing::Test {
 protected:
  std::shared_ptr<PrivilegedScript> create(std::optional<std::string> path, std::optional<std::string> shebang = {}) {
    return PrivilegedScript::create(files, launcher, std::move(path), {"-c", "true"}, std::move(shebang), connection);
  }
  static void writeData(PrivilegedScript& script, std::string_view bytes) {
    script.writeToLog(std::as_bytes(std::span(bytes)));
  }

  InMemoryFileManager files;
  ScriptedChildProcessLauncher launcher;
  std::shared_ptr<RecordingConnection> connection = std::make_shared<RecordingConnection>();
};

TEST_F(PrivilegedScriptTest, ItIsCreatedWithItsArgumentsAndConnectionAndWithoutParameters) {
  files.addFile("/s.sh", "#!/bin/sh\n");
  const auto script = create("/s.sh");
  ASSERT_NE(script, nullptr);
  EXPECT_EQ(script->path(), "/s.sh");
  EXPECT_THAT(script->arguments(), Optional(ElementsAre("-c", "true")));
  EXPECT_EQ(script->parameters(), "");
  EXPECT_FALSE(script->doDisplayError());
  EXPECT_FALSE(script->waitForCompletion());
  EXPECT_EQ(script->connection(), connection);
  EXPECT_EQ(script->shebang(), "#!/bin/sh");
}

TEST_F(PrivilegedScriptTest, AGivenShebangReplacesTheFilesFirstLine) {
  files.addFile("/s.sh", "#!/bin/sh\n");
  const auto script = create("/s.sh", "#!/bin/bash -x");
  ASSERT_NE(script, nullptr);
  EXPECT_EQ(script->shebang(), "#!/bin/bash -x");
}

TEST_F(PrivilegedScriptTest, ItNeedsNoPath) {
  const auto script = create(std::nullopt, "#!/bin/bash");
  ASSERT_NE(script, nullptr);
  EXPECT_EQ(script->toolPath(), "/bin/bash");
}

TEST_F(PrivilegedScriptTest, AMissingFileGivesNoScriptAndNoLine) {
  EXPECT_EQ(create("/gone.sh"), nullptr);
  EXPECT_THAT(connection->lines(), IsEmpty());
}

TEST_F(PrivilegedScriptTest, AFileThatCannotBeReadGivesNoScriptAndTellsTheClient) {
  files.addFile("/bad.sh", "\xFF");
  EXPECT_EQ(create("/bad.sh"), nullptr);
  EXPECT_THAT(connection->lines(), ElementsAre("ERROR: Unable to read script at /bad.sh."));
}

TEST_F(PrivilegedScriptTest, TextGoesToTheClientWithoutWaiting) {
  const auto script = create(std::nullopt);
  script->writeToLog("a line");
  script->writeToLog("");
  EXPECT_THAT(connection->lines(), ElementsAre("a line"));
  EXPECT_EQ(connection->capacityWaits(), 0);
}

TEST_F(PrivilegedScriptTest, OutputGoesToTheClientChunkByChunk) {
  const auto script = create(std::nullopt);
  writeData(*script, "one\ntwo");
  writeData(*script, "\n");
  EXPECT_THAT(connection->lines(), ElementsAre("one\ntwo", "\n"));
}

TEST_F(PrivilegedScriptTest, EachChunkOfOutputWaitsForTheClientsCapacity) {
  const auto script = create(std::nullopt);
  writeData(*script, "one");
  writeData(*script, "two");
  EXPECT_EQ(connection->capacityWaits(), 2);
}

/// A client without room until the test makes some.
class FullConnection : public RecordingConnection {
 public:
  void waitForCapacity() override {
    std::unique_lock lock(mutex_);
    isWaiting_ = true;
    changed_.notify_all();
    changed_.wait(lock, [this] { return hasRoom_; });
  }
  [[nodiscard]] bool awaitWaiter() {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, support::patience, [this] { return isWaiting_; });
  }
  void makeRoom() {
    const std::scoped_lock lock(mutex_);
    hasRoom_ = true;
    changed_.notify_all();
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool isWaiting_ = false;
  bool hasRoom_ = false;
};

TEST_F(PrivilegedScriptTest, OutputIsSentOnlyWhenTheClientHasRoom) {
  const auto full = std::make_shared<FullConnection>();
  connection = full;
  const auto script = create(std::nullopt);
  std::jthread child([&] { writeData(*script, "late"); });
  EXPECT_TRUE(full->awaitWaiter());
  EXPECT_THAT(full->lines(), IsEmpty());
  full->makeRoom();
  child.join();
  EXPECT_THAT(full->lines(), ElementsAre("late"));
}

TEST_F(PrivilegedScriptTest, OutputThatIsNotUtf8IsDroppedChunkByChunk) {
  const auto script = create(std::nullopt);
  writeData(*script, "good");
  writeData(*script, "half \xC3");
  writeData(*script, "\xA9 other half");
  writeData(*script, "\xFF\xFE");
  writeData(*script, "");
  writeData(*script, "good again");
  EXPECT_THAT(connection->lines(), ElementsAre("good", "good again"));
  EXPECT_EQ(connection->capacityWaits(), 2);
}

TEST_F(PrivilegedScriptTest, AByteOrderMarkInOutputIsKept) {
  const auto script = create(std::nullopt);
  writeData(*script, "\xEF\xBB\xBFtext");
  EXPECT_THAT(connection->lines(), ElementsAre("\xEF\xBB\xBFtext"));
}

TEST_F(PrivilegedScriptTest, WithoutAConnectionNothingHappens) {
  const auto script = PrivilegedScript::create(files, launcher, std::nullopt, {}, std::nullopt, nullptr);
  ASSERT_NE(script, nullptr);
  script->writeToLog("text");
  writeData(*script, "output");
  EXPECT_THAT(connection->lines(), IsEmpty());
}

TEST_F(PrivilegedScriptTest, AClientThatIsNotOfTheApplicationsProtocolGetsNothing) {
  connection->exportNoAppProtocol();
  const auto script = create(std::nullopt);
  script->writeToLog("text");
  writeData(*script, "output");
  EXPECT_THAT(connection->lines(), IsEmpty());
}

TEST_F(PrivilegedScriptTest, ARunsOutputAndItsResultLinesGoToTheClient) {
  files.addFile("/s.sh", "#!/bin/sh\n");
  const auto script = create("/s.sh");
  EXPECT_TRUE(script->execute());
  launcher.children().at(0)->writeOutput("hello\n");
  launcher.children().at(0)->writeError("oops\n");
  launcher.children().at(0)->terminate(9);
  EXPECT_THAT(connection->lines(), ElementsAre("Script at /s.sh was executed successfully.", "hello\n", "oops\n",
                                               "ERROR: Execution of the script at /s.sh failed with exit code 9."));
}

class InitializableScript : public PrivilegedScript {
 public:
  InitializableScript(FileManager& fileManager, ChildProcessLauncher& launcher)
      : PrivilegedScript(fileManager, launcher, nullptr) {}
  using PrivilegedScript::init;
};

TEST(PrivilegedScriptDeathTest, ItsBasesInitializerEndsTheProcessNamingTheClassAndItself) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  InMemoryFileManager files;
  ScriptedChildProcessLauncher launcher;
  InitializableScript script(files, launcher);
  EXPECT_DEATH((void)script.init(std::nullopt, "", false),
               "init\\(path:parameters:doDisplayError:\\).*PrivilegedScript");
}

}  // namespace
}  // namespace wicket
