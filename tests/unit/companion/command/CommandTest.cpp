// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "base/system/Descriptor.h"
#include "companion/command/CommandLine.h"
#include "companion/command/ExitStatus.h"
#include "tests/support/FakeHelper.h"

namespace wicket::companion::command {
namespace {

constexpr char jobSuccess[] = "Script at /var/orvane/job.sh was executed successfully.";

class CommandTest : public testing::Test {
 protected:
  struct Result {
    int status;
    std::string out;
    std::string err;
  };

  void SetUp() override {
    std::string folder = "/tmp/wicket-test-XXXXXX";
    ASSERT_NE(::mkdtemp(folder.data()), nullptr);
    folder_ = folder;
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  Result wicketAt(const std::string& socketPath, std::vector<std::string> words) {
    const Descriptor out(openFile("out"));
    const Descriptor err(openFile("err"));
    Output output(out.get(), err.get(), terminals_);
    Context context{output};
    context.connection.socketPath = socketPath;
    context.scriptFolder = folder_ + "/scripts";
    context.textAgent = folder_ + "/no-agent";
    const int status = runCommandLine(std::move(words), context);
    return {status, contentOf("out"), contentOf("err")};
  }
  Result wicket(FakeHelper::Behaviour behaviour, std::vector<std::string> words) {
    FakeHelper helper(std::move(behaviour));
    Result result = wicketAt(helper.socketPath(), std::move(words));
    requests_ = helper.requests();
    return result;
  }
  Result withoutHelper(std::vector<std::string> words) { return wicketAt(folder_ + "/socket", std::move(words)); }

  [[nodiscard]] std::string fileOf(const std::string& name, const std::string& text) const {
    std::ofstream(folder_ + "/" + name, std::ios::binary) << text;
    return folder_ + "/" + name;
  }

  std::string folder_;
  Output::Terminals terminals_{false, false, false};
  std::vector<std::string> requests_;

 private:
  [[nodiscard]] int openFile(const std::string& name) const {
    return ::open((folder_ + "/" + name).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  }
  [[nodiscard]] std::string contentOf(const std::string& name) const {
    std::ifstream file(folder_ + "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
};

TEST_F(CommandTest, VersionPrintsTheHelpersVersion) {
  const Result result = wicket(FakeHelper::Behaviour{}, {"version"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "9417\n");
  EXPECT_EQ(result.err, "");
}

TEST_F(CommandTest, ARunPrintsTheScriptsBytesAndEndsWithItsStatus) {
  const std::string failure = "ERROR: Execution of the script at /var/orvane/job.sh failed with exit code 7.";
  const Result result = wicket({.linesBeforeReply = {jobSuccess},
                                .linesAfterReply = {"one\ntw", "o\n", "ERROR: of the script\n", "end", failure},
                                .laterReport = 7},
                               {"run", "job.sh"});
  EXPECT_EQ(result.status, 7);
  EXPECT_EQ(result.out, "one\ntwo\nERROR: of the script\nend");
  EXPECT_EQ(result.err, failure + "\n");
}

TEST_F(CommandTest, BothSuccessLinesOfARunAreLeftOutAndThoseOfOtherScriptsAreNot) {
  const std::string other = "Script at /var/orvane/other.sh was executed successfully.";
  const Result result =
      wicket({.linesBeforeReply = {jobSuccess}, .linesAfterReply = {"hello\n", other, jobSuccess}, .laterReport = 0},
             {"run", "job.sh"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "hello\n");
  EXPECT_EQ(result.err, other + "\n");
}

TEST_F(CommandTest, OnATerminalAnUnfinishedLineIsFinishedBeforeAnotherFollows) {
  terminals_ = {true, true, false};
  const Result result = wicket({.linesAfterReply = {"end"}, .laterReport = 0}, {"run", "job.sh"});
  EXPECT_EQ(result.out, "end\n");
}

TEST_F(CommandTest, ATerminalIsSentNoControlCharactersOfAScript) {
  const std::string forged = "ERROR: Execution of the script at \x1B[2J failed with exit code 7.";
  const FakeHelper::Behaviour behaviour{.linesAfterReply = {"\x1B[31mred\x1B[0m \x1B]0;title\x07\r", forged},
                                        .laterReport = 0};
  const std::string raw = "\x1B[31mred\x1B[0m \x1B]0;title\x07\r";
  EXPECT_EQ(wicket(behaviour, {"run", "job.sh"}).out, raw) << "a file has the bytes";
  EXPECT_EQ(wicket(behaviour, {"run", "job.sh"}).err, forged + "\n");
  terminals_ = {true, true, false};
  const Result shown = wicket(behaviour, {"run", "job.sh"});
  EXPECT_EQ(shown.out, "\x1B[31mred\x1B[0m \\x1B]0;title\\x07\\x0D\n");
  EXPECT_EQ(shown.err, "ERROR: Execution of the script at \\x1B[2J failed with exit code 7.\n");
}

TEST_F(CommandTest, ColoursAreUsedOnlyWhereTheyAreWelcome) {
  terminals_ = {true, true, true};
  EXPECT_TRUE(withoutHelper({"version"}).err.starts_with("\033[1;31mwicket:\033[0m The helper is not installed"));
  terminals_ = {true, false, true};
  EXPECT_TRUE(withoutHelper({"version"}).err.starts_with("wicket: The helper is not installed"));
}

TEST_F(CommandTest, EachReplyOfARunHasItsExitStatusAndItsNextStep) {
  EXPECT_EQ(wicket({.code = 756}, {"run", "job.sh"}).status, 127);
  EXPECT_EQ(wicket({.code = 411}, {"run", "job.sh"}).status, 126);
  EXPECT_EQ(wicket({.code = 681}, {"run", "job.sh"}).status, 126);
  EXPECT_EQ(wicket({.code = 367}, {"run", "job.sh"}).status, 125);
  EXPECT_EQ(wicket({.code = 756}, {"run", "job.sh"}).err,
            "wicket: The script \"job.sh\" is not installed. See the installed ones with: wicket list.\n");
}

TEST_F(CommandTest, AConnectionCutDuringARunTellsThatTheScriptKeepsRunning) {
  const Result result = wicket({.linesAfterReply = {"begin\n"}, .cutsAfterReply = true}, {"run", "job.sh"});
  EXPECT_EQ(result.status, 124);
  EXPECT_EQ(result.out, "begin\n");
  EXPECT_NE(result.err.find("the script \"job.sh\" keeps running"), std::string::npos);
}

TEST_F(CommandTest, AConnectionCutBeforeTheReplyIsAFailureOfTheHelper) {
  EXPECT_EQ(wicket({.cutsBeforeReply = true}, {"run", "job.sh"}).status, 125);
  EXPECT_EQ(withoutHelper({"run", "job.sh"}).status, 125);
}

TEST_F(CommandTest, WithoutWaitingARunEndsAsSoonAsTheScriptHasStarted) {
  EXPECT_EQ(wicket(FakeHelper::Behaviour{}, {"run", "--no-wait", "job.sh"}).status, 0);
}

TEST_F(CommandTest, ANameWithASlashNeverReachesTheHelper) {
  for (const char* subcommand : {"run", "remove"}) {
    EXPECT_EQ(wicket(FakeHelper::Behaviour{}, {subcommand, "../etc/passwd"}).status, 2);
    EXPECT_TRUE(requests_.empty());
  }
}

TEST_F(CommandTest, AnInstallationSendsTheTwoPathsAndTheAuthorization) {
  const std::string file = fileOf("job.sh", "#!/bin/sh\n");
  const Result result = wicket(FakeHelper::Behaviour{}, {"install", file, "--name", "new name.sh"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "Installed /var/orvane/new name.sh.\n");
  EXPECT_EQ(requests_, std::vector<std::string>{"installScriptAt_authData_completion_(" + file +
                                                ",/var/orvane/new name.sh, 32 bytes)"});
}

TEST_F(CommandTest, AFileWhosePathWouldBeMangledIsSentAsACopyThatIsGoneAfterwards) {
  const std::string file = fileOf("a,b #1.sh", "#!/bin/sh\n");
  EXPECT_EQ(wicket(FakeHelper::Behaviour{}, {"install", file, "--name", "job.sh"}).status, 0);
  ASSERT_EQ(requests_.size(), 1U);
  const std::string start = "installScriptAt_authData_completion_(";
  ASSERT_TRUE(requests_[0].ends_with("/script,/var/orvane/job.sh, 32 bytes)"));
  const std::string staged = requests_[0].substr(start.size(), requests_[0].find(',') - start.size());
  EXPECT_NE(staged, file);
  EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(staged).parent_path()));
}

TEST_F(CommandTest, AScriptWithoutAToolIsRefusedBeforeTheHelperIsAsked) {
  const Result result = wicket(FakeHelper::Behaviour{}, {"install", fileOf("job.sh", "echo\n")});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(requests_.empty());
  EXPECT_NE(result.err.find("for example #!/bin/bash"), std::string::npos);
}

TEST_F(CommandTest, ARefusedAuthorizationShowsTheHelpersLineAndTheNextStep) {
  const std::string line = "ERROR: Authentication failed with message(\"Optional(The authorization was denied.)\")";
  const Result result = wicket({.linesBeforeReply = {line}, .code = 156}, {"install", fileOf("job.sh", "#!/bin/sh\n")});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err,
            line +
                "\nwicket: Nothing was installed, because the authorization was denied (code 156). Run the command "
                "again with an administrator's password.\n");
}

TEST_F(CommandTest, AFailedInstallationIsAFailure) {
  EXPECT_EQ(wicket({.code = 590}, {"install", fileOf("job.sh", "#!/bin/sh\n")}).status, 1);
}

TEST_F(CommandTest, ListShowsNamesSizesAndTimesAndAMissingFolderHoldsNone) {
  EXPECT_EQ(withoutHelper({"list"}).out, "No scripts are installed.\n");
  EXPECT_EQ(withoutHelper({"list", "--json"}).out, "[]\n");
  std::filesystem::create_directory(folder_ + "/scripts");
  const std::string first = fileOf("scripts/a \"q\".sh", "12345");
  static_cast<void>(fileOf("scripts/b\n.sh", ""));
  const timespec moments[] = {{0, 0}, {0, 0}};
  ASSERT_EQ(::utimensat(AT_FDCWD, first.c_str(), moments, 0), 0);
  const std::string json = withoutHelper({"list", "--json"}).out;
  EXPECT_TRUE(json.starts_with(
      "[{\"name\": \"a \\\"q\\\".sh\", \"size\": 5, \"installedAt\": \"1970-01-01T00:00:00Z\"},\n {\"name\": "
      "\"b\\u000a.sh\", \"size\": 0, "))
      << json;
  const std::string table = withoutHelper({"list"}).out;
  EXPECT_TRUE(table.starts_with("NAME        BYTES  INSTALLED\na \"q\".sh    5      ")) << table;
  EXPECT_NE(table.find("\"b\\x0A.sh\"  0    "), std::string::npos) << table;
}

TEST_F(CommandTest, RemoveTellsWhetherThereWasAnythingToRemove) {
  std::filesystem::create_directory(folder_ + "/scripts");
  static_cast<void>(fileOf("scripts/job.sh", ""));
  EXPECT_EQ(wicket(FakeHelper::Behaviour{}, {"remove", "job.sh"}).out, "Removed \"job.sh\".\n");
  EXPECT_EQ(wicket(FakeHelper::Behaviour{}, {"remove", "x.sh"}).out,
            "No script \"x.sh\" was installed; nothing was removed.\n");
  EXPECT_EQ(wicket({.code = 367}, {"remove", "job.sh"}).status, 1);
}

TEST_F(CommandTest, UninstallWithoutATerminalNeedsYes) {
  EXPECT_EQ(wicket(FakeHelper::Behaviour{}, {"uninstall", "--all"}).status, 1);
  EXPECT_TRUE(requests_.empty());
  EXPECT_EQ(wicket(FakeHelper::Behaviour{}, {"uninstall", "--all", "--yes"}).status, 0);
  EXPECT_EQ(requests_.at(0), "uninstallWithAll_(1)");
  EXPECT_EQ(wicket({.cutsBeforeReply = true}, {"uninstall", "--yes"}).status, 0);
  EXPECT_EQ(requests_.at(0), "uninstallWithAll_(0)");
}

TEST_F(CommandTest, UninstallAllThatLeavesTheFolderBehindIsAFailure) {
  std::filesystem::create_directory(folder_ + "/scripts");
  EXPECT_EQ(wicket(FakeHelper::Behaviour{}, {"uninstall", "--all", "--yes"}).status, 1);
}

TEST_F(CommandTest, HelpIsEverywhereAndUsageErrorsEndWith2) {
  for (const char* subcommand : {"version", "install", "run", "list", "remove", "uninstall"}) {
    const Result result = withoutHelper({subcommand, "--help"});
    EXPECT_EQ(result.status, 0) << subcommand;
    EXPECT_NE(result.out.find("Usage: wicket "), std::string::npos) << subcommand;
  }
  EXPECT_EQ(withoutHelper({"--help"}).status, 0);
  EXPECT_TRUE(withoutHelper({"--version"}).out.starts_with("wicket "));
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{}, {"bogus"}, {"run"}, {"run", "a", "b"}, {"list", "--bogus"}}) {
    const Result result = withoutHelper(words);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(result.err.starts_with("wicket: ") && result.err.find('\n') == result.err.size() - 1) << result.err;
  }
  EXPECT_EQ(withoutHelper({"bogus"}).err, "wicket: There is no subcommand \"bogus\". See: wicket --help.\n");
}

TEST(ExitStatusTest, AScriptsStatusIsTheCommandsOwn) {
  EXPECT_EQ(exit_status::ofScript(0), 0);
  EXPECT_EQ(exit_status::ofScript(255), 255);
  EXPECT_EQ(exit_status::ofScript(-1), exit_status::helperFailed);
  EXPECT_EQ(exit_status::ofSignal(SIGINT), 130);
}

}  // namespace
}  // namespace wicket::companion::command
