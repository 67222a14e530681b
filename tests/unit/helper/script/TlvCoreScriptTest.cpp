// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "helper/script/TlvCoreScript.h"
#include "tests/doubles/InMemoryFileManager.h"
#include "tests/doubles/ScriptedChildProcessLauncher.h"
#include "tests/unit/helper/script/RecordingScript.h"

namespace wicket {
namespace {

using doubles::FileOperation;
using doubles::InMemoryFileManager;
using doubles::ScriptedChildProcessLauncher;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

class TlvCoreScriptTest : public testing::Test {
 protected:
  RecordingScript::Creation create(std::optional<std::string> path) {
    return RecordingScript::create(files, launcher, std::move(path));
  }
  /// A script whose file has this content.
  std::shared_ptr<RecordingScript> scriptOf(const std::string& content) {
    files.addFile("/s.sh", content);
    const auto [succeeded, script] = create("/s.sh");
    EXPECT_TRUE(succeeded);
    return script;
  }

  InMemoryFileManager files;
  ScriptedChildProcessLauncher launcher;
};

TEST_F(TlvCoreScriptTest, WithoutAPathItIsCreatedWithNothingReadAndTheFileSystemUntouched) {
  const auto [succeeded, script] = create(std::nullopt);
  EXPECT_TRUE(succeeded);
  EXPECT_EQ(script->script(), std::nullopt);
  EXPECT_EQ(script->shebang(), std::nullopt);
  EXPECT_EQ(script->scriptExtension(), std::nullopt);
  EXPECT_THAT(files.calls(), IsEmpty());
  EXPECT_FALSE(script->readFile());
}

TEST_F(TlvCoreScriptTest, ItKeepsWhatItWasCreatedWithAndStartsWithoutArgumentsAndWaiting) {
  files.addFile("/s.sh", "#!/bin/sh\necho\n");
  const auto [succeeded, script] = RecordingScript::create(files, launcher, "/s.sh", "a,b", true);
  EXPECT_TRUE(succeeded);
  EXPECT_EQ(script->path(), "/s.sh");
  EXPECT_EQ(script->parameters(), "a,b");
  EXPECT_TRUE(script->doDisplayError());
  EXPECT_EQ(script->script(), "#!/bin/sh\necho\n");
  EXPECT_EQ(script->shebang(), "#!/bin/sh");
  EXPECT_EQ(script->arguments(), std::nullopt);
  EXPECT_FALSE(script->waitForCompletion());
}

TEST_F(TlvCoreScriptTest, APathThatNamesNoFileFailsSilently) {
  const auto [succeeded, script] = create("/gone.sh");
  EXPECT_FALSE(succeeded);
  EXPECT_THAT(script->lines(), IsEmpty());
}

TEST_F(TlvCoreScriptTest, AFileThatIsNotUtf8FailsAfterTheUnableToReadLine) {
  files.addFile("/bad.sh", "#!/bin/sh\n\xFF\n");
  const auto [succeeded, script] = create("/bad.sh");
  EXPECT_FALSE(succeeded);
  EXPECT_THAT(script->lines(), ElementsAre("ERROR: Unable to read script at /bad.sh."));
  EXPECT_EQ(script->script(), std::nullopt);
  EXPECT_EQ(script->shebang(), std::nullopt);
}

TEST_F(TlvCoreScriptTest, AFolderExistsButCannotBeRead) {
  files.addDirectory("/folder.sh");
  const auto [succeeded, script] = create("/folder.sh");
  EXPECT_FALSE(succeeded);
  EXPECT_THAT(script->lines(), ElementsAre("ERROR: Unable to read script at /folder.sh."));
}

TEST_F(TlvCoreScriptTest, AFileThatCannotBeReadAgainLeavesWhatWasRead) {
  const auto script = scriptOf("#!/bin/sh\nold");
  files.fail(FileOperation::readFile, "/s.sh", EIO);
  EXPECT_FALSE(script->readFile());
  EXPECT_EQ(script->script(), "#!/bin/sh\nold");
  EXPECT_EQ(script->shebang(), "#!/bin/sh");
}

TEST_F(TlvCoreScriptTest, ItsCreationReadsThroughWhatASubclassOverrides) {
  class Unreadable : public RecordingScript {
   public:
    using RecordingScript::RecordingScript;
    bool readFile() override { return false; }
    bool create() { return init("/s.sh", "", false); }
  };
  files.addFile("/s.sh", "#!/bin/sh\n");
  EXPECT_FALSE(std::make_shared<Unreadable>(files, launcher)->create());
}

TEST_F(TlvCoreScriptTest, ALineOfTheToolAloneHasAnEmptyListOfArguments) {
  const auto script = scriptOf("#!/bin/bash\necho");
  EXPECT_EQ(script->toolPath(), "/bin/bash");
  EXPECT_THAT(script->argumentsInShebang(), Optional(IsEmpty()));
}

TEST_F(TlvCoreScriptTest, TheWordsAfterTheToolAreItsArguments) {
  const auto script = scriptOf("#! /bin/sh -e");
  EXPECT_EQ(script->toolPath(), "/bin/sh");
  EXPECT_THAT(script->argumentsInShebang(), Optional(ElementsAre("-e")));
  EXPECT_THAT(script->shebangComponents(), Optional(ElementsAre("/bin/sh", "-e")));
}

TEST_F(TlvCoreScriptTest, TheMarkAloneHasNoToolAndAnEmptyListOfArguments) {
  const auto script = scriptOf("#!");
  EXPECT_THAT(script->shebangComponents(), Optional(IsEmpty()));
  EXPECT_EQ(script->toolPath(), std::nullopt);
  EXPECT_THAT(script->argumentsInShebang(), Optional(IsEmpty()));
}

TEST_F(TlvCoreScriptTest, WithoutAShebangNeitherToolNorArgumentsAreThere) {
  for (const std::string content : {" #!/bin/bash\n", "echo hi\n", ""}) {
    const auto script = scriptOf(content);
    EXPECT_EQ(script->shebangComponents(), std::nullopt) << content;
    EXPECT_EQ(script->toolPath(), std::nullopt) << content;
    EXPECT_EQ(script->argumentsInShebang(), std::nullopt) << content;
  }
}

TEST_F(TlvCoreScriptTest, AnEmptyFileGivesAnEmptyFirstLine) {
  const auto script = scriptOf("");
  EXPECT_EQ(script->script(), "");
  EXPECT_EQ(script->shebang(), "");
}

TEST_F(TlvCoreScriptTest, LineEndingsOfCarriageReturnAndLineFeedYieldTheLineWithoutEither) {
  EXPECT_EQ(scriptOf("#!/bin/sh\r\necho\r\n")->shebang(), "#!/bin/sh");
}

TEST_F(TlvCoreScriptTest, EveryNewlineCharacterEndsTheFirstLine) {
  for (const std::string newline : {"\n", "\v", "\f", "\r", "\u0085", "\u2028", "\u2029"}) {
    EXPECT_EQ(scriptOf("#!/bin/sh -e " + newline + "x")->shebang(), "#!/bin/sh -e ") << newline;
  }
}

TEST_F(TlvCoreScriptTest, AByteOrderMarkIsKeptAndHidesTheShebang) {
  const auto script = scriptOf("\xEF\xBB\xBF#!/bin/sh\n");
  EXPECT_EQ(script->shebang(), "\xEF\xBB\xBF#!/bin/sh");
  EXPECT_EQ(script->toolPath(), std::nullopt);
}

TEST_F(TlvCoreScriptTest, TheExtensionKeepsItsCaseAndIsEmptyWhenThereIsNone) {
  files.addFile("/run.PY", "");
  files.addFile("/run", "");
  EXPECT_EQ(create("/run.PY").script->scriptExtension(), "PY");
  EXPECT_EQ(create("/run").script->scriptExtension(), "");
}

TEST_F(TlvCoreScriptTest, WhatIsDerivedFollowsTheShebangAndThePath) {
  const auto script = scriptOf("#!/bin/sh\n");
  script->setShebang("#!/bin/bash -x");
  script->setPath("/elsewhere/job.py");
  EXPECT_EQ(script->toolPath(), "/bin/bash");
  EXPECT_THAT(script->argumentsInShebang(), Optional(ElementsAre("-x")));
  EXPECT_EQ(script->scriptExtension(), "py");
}

TEST_F(TlvCoreScriptTest, ParametersAreValidWhenTheScriptIsOneForRootAndItsToolExists) {
  const auto script = scriptOf("#!/tool -x\n");
  EXPECT_FALSE(script->areParametersValid()) << "no such tool";
  files.addFile("/tool", "");
  EXPECT_TRUE(script->areParametersValid());
  files.addFile("/run", "#!/tool\n");
  EXPECT_FALSE(create("/run").script->areParametersValid()) << "no extension of a script for root";
  script->setShebang("#!");
  EXPECT_FALSE(script->areParametersValid()) << "no tool named";
  script->setShebang(std::nullopt);
  EXPECT_FALSE(script->areParametersValid()) << "no shebang";
}

TEST_F(TlvCoreScriptTest, WithoutAPathOnlyTheToolMustExist) {
  files.addFile("/tool", "");
  const auto script = create(std::nullopt).script;
  script->setShebang("#!/tool");
  EXPECT_TRUE(script->areParametersValid());
}

class SinklessScript : public TlvCoreScript {
 public:
  SinklessScript(FileManager& fileManager, ChildProcessLauncher& launcher) : TlvCoreScript(fileManager, launcher) {}
};

TEST(TlvCoreScriptDeathTest, WritingTextWithoutASinkEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  InMemoryFileManager files;
  ScriptedChildProcessLauncher launcher;
  SinklessScript script(files, launcher);
  EXPECT_DEATH(script.writeToLog("text"), "TlvCoreScript.*writeToLog was not overriden\\.");
}

TEST(TlvCoreScriptDeathTest, WritingDataWithoutASinkEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  InMemoryFileManager files;
  ScriptedChildProcessLauncher launcher;
  SinklessScript script(files, launcher);
  EXPECT_DEATH(script.writeToLog(std::span<const std::byte>()), "TlvCoreScript.*writeToLog was not overriden\\.");
}

}  // namespace
}  // namespace wicket
