// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <cerrno>
#include <chrono>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/doubles/InMemoryFileManager.h"
#include "tests/doubles/ScriptedChildProcessLauncher.h"
#include "tests/unit/helper/script/RecordingScript.h"

namespace wicket {
namespace {

using doubles::InMemoryFileManager;
using doubles::ScriptedChild;
using doubles::ScriptedChildProcessLauncher;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

const std::string success = "Script at /s/job.sh was executed successfully.";

std::string failure(const std::string& code) {
  return "ERROR: Execution of the script at /s/job.sh failed with exit code " + code + ".";
}

/// The codes that a completion was called with, from whatever threads.
class Reports {
 public:
  TlvCoreScript::Completion completion() {
    return [this](ReplyCode code) {
      const std::scoped_lock lock(mutex_);
      codes_.push_back(code);
      threads_.push_back(std::this_thread::get_id());
    };
  }
  [[nodiscard]] std::vector<ReplyCode> codes() const {
    const std::scoped_lock lock(mutex_);
    return codes_;
  }
  [[nodiscard]] std::vector<std::thread::id> threads() const {
    const std::scoped_lock lock(mutex_);
    return threads_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<ReplyCode> codes_;
  std::vector<std::thread::id> threads_;
};

class TlvCoreScriptRunTest : public testing::Test {
 protected:
  TlvCoreScriptRunTest() { files.addDirectory("/s"); }

  std::shared_ptr<RecordingScript> scriptAt(const std::string& path, const std::string& shebang,
                                            const std::string& parameters = "") {
    files.addFile(path, shebang + "\n");
    const auto [succeeded, script] = RecordingScript::create(files, launcher, path, parameters);
    EXPECT_TRUE(succeeded);
    return script;
  }
  std::shared_ptr<RecordingScript> job() { return scriptAt("/s/job.sh", "#!/bin/sh"); }

  /// Makes every child end with @p status on a thread of its own as soon as it is launched, and lets
  /// launch() return only when the child's termination handler has had time to run.
  void endChildrenBeforeLaunchReturns(int status) {
    launcher.onLaunch([this, status](ScriptedChild& child) {
      endings_.emplace_back([&child, status] { child.terminate(status); });
      child.waitUntilExit();
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    });
  }
  void joinEndings() { endings_.clear(); }

  InMemoryFileManager files;
  ScriptedChildProcessLauncher launcher;
  Reports reports;

 private:
  std::vector<std::jthread> endings_;
};

TEST_F(TlvCoreScriptRunTest, AScriptWithoutAShebangOnlySaysThatItWasNotExecutedAndReports411) {
  for (const std::string line : {"", "echo hi", " #!/bin/sh", "#!", "#!  "}) {
    const auto script = scriptAt("/s/job.sh", line);
    Reports own;
    script->execute(own.completion());
    EXPECT_THAT(own.codes(), ElementsAre(411)) << line;
    EXPECT_THAT(script->lines(),
                ElementsAre("ERROR: Script at /s/job.sh was not executed, because a valid path to the tool could not "
                            "be found. Please always include a valid shebang in your scripts."));
    EXPECT_FALSE(script->execute());
  }
  EXPECT_THAT(launcher.attempts(), IsEmpty());
}

TEST_F(TlvCoreScriptRunTest, WithoutAPathTheMessageLeavesItsPlaceEmpty) {
  const auto script = RecordingScript::create(files, launcher, std::nullopt).script;
  script->execute(reports.completion());
  EXPECT_THAT(script->lines(),
              ElementsAre("ERROR: Script at  was not executed, because a valid path to the tool could not be found. "
                          "Please always include a valid shebang in your scripts."));
}

TEST_F(TlvCoreScriptRunTest, AShellScriptFollowsItsParameters) {
  scriptAt("/s/job.sh", "#!/bin/bash -e", "a, \"b c\" ,,d")->execute(reports.completion());
  ASSERT_THAT(launcher.children(), SizeIs(1));
  EXPECT_EQ(launcher.children()[0]->launchPath(), "/bin/bash");
  EXPECT_THAT(launcher.children()[0]->arguments(), ElementsAre("-e", "a", "b c", "d", "/s/job.sh"));
}

TEST_F(TlvCoreScriptRunTest, APythonScriptPrecedesItsParameters) {
  scriptAt("/s/job.py", "#!/usr/bin/env python3", "a, \"b c\" ,,d")->execute(reports.completion());
  ASSERT_THAT(launcher.children(), SizeIs(1));
  EXPECT_EQ(launcher.children()[0]->launchPath(), "/usr/bin/env");
  EXPECT_THAT(launcher.children()[0]->arguments(), ElementsAre("python3", "/s/job.py", "a", "b c", "d"));
}

TEST_F(TlvCoreScriptRunTest, AnExtensionInUpperCaseIsNotPythons) {
  scriptAt("/s/job.PY", "#!/usr/bin/python3", "a")->execute(reports.completion());
  EXPECT_THAT(launcher.children().at(0)->arguments(), ElementsAre("a", "/s/job.PY"));
}

TEST_F(TlvCoreScriptRunTest, EmptyParametersAddNoArgument) {
  job()->execute(reports.completion());
  EXPECT_THAT(launcher.children().at(0)->arguments(), ElementsAre("/s/job.sh"));
}

TEST_F(TlvCoreScriptRunTest, ParametersOfOneBlankAddOneEmptyArgument) {
  scriptAt("/s/job.sh", "#!/bin/sh", " ")->execute(reports.completion());
  EXPECT_THAT(launcher.children().at(0)->arguments(), ElementsAre("", "/s/job.sh"));
}

TEST_F(TlvCoreScriptRunTest, WithoutAPathTheStoredArgumentsReachTheTool) {
  const auto script = RecordingScript::create(files, launcher, std::nullopt).script;
  script->setShebang("#!/bin/bash");
  script->setArguments(std::vector<std::string>{"-c", "echo hi"});
  EXPECT_TRUE(script->execute());
  EXPECT_EQ(launcher.children().at(0)->launchPath(), "/bin/bash");
  EXPECT_THAT(launcher.children().at(0)->arguments(), ElementsAre("-c", "echo hi"));
  EXPECT_THAT(script->lines(), ElementsAre("Script at  was executed successfully."));
}

TEST_F(TlvCoreScriptRunTest, WithAPathTheStoredArgumentsDoNotReachTheChild) {
  const auto script = job();
  script->setArguments(std::vector<std::string>{"-c", "echo hi"});
  script->execute(reports.completion());
  EXPECT_THAT(launcher.children().at(0)->arguments(), ElementsAre("/s/job.sh"));
}

TEST_F(TlvCoreScriptRunTest, APythonScriptThatLosesItsPathMeanwhileReports367AndStartsNothing) {
  class Forgetful : public RecordingScript {
   public:
    using RecordingScript::RecordingScript;
    [[nodiscard]] std::optional<std::string> path() const override {
      return std::exchange(asked_, true) ? std::nullopt : std::optional<std::string>("/s/job.py");
    }

   private:
    mutable bool asked_ = false;
  };
  const auto script = std::make_shared<Forgetful>(files, launcher);
  script->setShebang("#!/usr/bin/python3");
  script->execute(reports.completion());
  EXPECT_THAT(reports.codes(), ElementsAre(367));
  EXPECT_THAT(launcher.attempts(), IsEmpty());
}

TEST_F(TlvCoreScriptRunTest, NotWaitingASuccessIsReportedAtOnceAndTheRealStatusLater) {
  const auto script = job();
  script->execute(reports.completion());
  EXPECT_THAT(reports.codes(), ElementsAre(0));
  EXPECT_THAT(script->lines(), ElementsAre(success));
  launcher.children().at(0)->terminate(7);
  EXPECT_THAT(reports.codes(), ElementsAre(0, 7));
  EXPECT_THAT(script->lines(), ElementsAre(success, failure("7")));
}

TEST_F(TlvCoreScriptRunTest, AChildThatSucceedsIsReportedAsASuccessTwice) {
  const auto script = job();
  script->execute(reports.completion());
  launcher.children().at(0)->terminate(0);
  EXPECT_THAT(reports.codes(), ElementsAre(0, 0));
  EXPECT_THAT(script->lines(), ElementsAre(success, success));
}

TEST_F(TlvCoreScriptRunTest, ANegativeStatusKeepsItsSign) {
  const auto script = job();
  script->execute(reports.completion());
  launcher.children().at(0)->terminate(-1);
  EXPECT_THAT(reports.codes(), ElementsAre(0, -1));
  EXPECT_THAT(script->lines(), ElementsAre(success, failure("-1")));
}

TEST_F(TlvCoreScriptRunTest, AChildThatEndsBeforeTheLaunchReturnsIsStillReportedSecond) {
  const auto script = job();
  endChildrenBeforeLaunchReturns(7);
  script->execute(reports.completion());
  joinEndings();
  EXPECT_THAT(reports.codes(), ElementsAre(0, 7));
  EXPECT_THAT(script->lines(), ElementsAre(success, failure("7")));
  EXPECT_EQ(reports.threads().at(0), std::this_thread::get_id());
  EXPECT_NE(reports.threads().at(1), std::this_thread::get_id());
}

TEST_F(TlvCoreScriptRunTest, WaitingWithStatus3GivesTwoFailureLinesAndTwoReportsOf3) {
  const auto script = job();
  script->setWaitForCompletion(true);
  endChildrenBeforeLaunchReturns(3);
  script->execute(reports.completion());
  joinEndings();
  EXPECT_THAT(reports.codes(), ElementsAre(3, 3));
  EXPECT_THAT(script->lines(), ElementsAre(failure("3"), failure("3")));
  EXPECT_EQ(reports.threads().at(0), std::this_thread::get_id());
}

TEST_F(TlvCoreScriptRunTest, WaitingBlocksUntilTheChildHasEnded) {
  const auto script = job();
  script->setWaitForCompletion(true);
  std::jthread caller([&] { script->execute(reports.completion()); });
  while (launcher.children().empty()) std::this_thread::yield();
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_THAT(reports.codes(), IsEmpty());
  launcher.children().at(0)->terminate(0);
  caller.join();
  EXPECT_THAT(reports.codes(), ElementsAre(0, 0));
}

TEST_F(TlvCoreScriptRunTest, ALaunchThatFailsReports681WithItsFailureLine) {
  launcher.failWith(EACCES);
  const auto script = job();
  script->execute(reports.completion());
  EXPECT_THAT(reports.codes(), ElementsAre(681));
  EXPECT_THAT(script->lines(), ElementsAre(failure("681")));
  EXPECT_FALSE(script->execute());
}

TEST_F(TlvCoreScriptRunTest, TheBooleanFormIsTheSynchronousReport) {
  const auto script = job();
  EXPECT_TRUE(script->execute());
  launcher.children().at(0)->terminate(7);
  EXPECT_THAT(script->lines(), ElementsAre(success, failure("7")));
}

TEST_F(TlvCoreScriptRunTest, TheBooleanFormIsTrueThoughTheChildHasAlreadyFailed) {
  const auto script = job();
  endChildrenBeforeLaunchReturns(7);
  for (int run = 0; run < 5; ++run) EXPECT_TRUE(script->execute());
  joinEndings();
  EXPECT_THAT(script->lines(), SizeIs(10));
}

TEST_F(TlvCoreScriptRunTest, TheBooleanFormIsTheExitStatusWhenWaiting) {
  const auto script = job();
  script->setWaitForCompletion(true);
  endChildrenBeforeLaunchReturns(1);
  EXPECT_FALSE(script->execute());
  endChildrenBeforeLaunchReturns(0);
  EXPECT_TRUE(script->execute());
  joinEndings();
}

TEST_F(TlvCoreScriptRunTest, EachChunkOfBothStreamsIsPassedOnAsItArrivesEvenAnEmptyOne) {
  const auto script = job();
  script->execute(reports.completion());
  const auto child = launcher.children().at(0);
  child->writeOutput("out");
  child->writeError("err");
  child->writeOutput("");
  child->terminate(0);
  EXPECT_THAT(script->output(), ElementsAre("out", "err", ""));
}

TEST_F(TlvCoreScriptRunTest, OutputMayArriveBeforeTheSynchronousReport) {
  const auto script = job();
  launcher.onLaunch([](ScriptedChild& child) { child.writeOutput("early"); });
  script->execute(reports.completion());
  EXPECT_THAT(script->output(), ElementsAre("early"));
  EXPECT_THAT(reports.codes(), ElementsAre(0));
}

TEST_F(TlvCoreScriptRunTest, TheChildsHandlersKeepTheScriptUntilTheyAreReleased) {
  auto script = job();
  const std::weak_ptr<TlvCoreScript> watched = script;
  script->execute(reports.completion());
  script.reset();
  EXPECT_FALSE(watched.expired());
  launcher.children().at(0)->terminate(0);
  EXPECT_TRUE(watched.expired());
}

TEST_F(TlvCoreScriptRunTest, AScriptMayRunMoreThanOnce) {
  const auto script = job();
  script->execute(reports.completion());
  script->execute(reports.completion());
  launcher.children().at(1)->terminate(2);
  launcher.children().at(0)->terminate(1);
  EXPECT_THAT(reports.codes(), ElementsAre(0, 0, 2, 1));
}

}  // namespace
}  // namespace wicket
