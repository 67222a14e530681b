// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/integration/IntegrationTest.h"
#include "tests/support/PolkitSandbox.h"
#include "tests/support/Program.h"

namespace wicket::integration {
namespace {

using namespace std::chrono_literals;
using support::Program;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

/// The wicket command as its users call it.
class CommandTest : public IntegrationTest {
 protected:
  void TearDown() override {
    polkit_.reset();
    IntegrationTest::TearDown();
  }
  static Program wicket(std::vector<std::string> words) {
    words.insert(words.begin(), commandExecutable());
    return Program::run(words);
  }
  /// As an ordinary user whom the socket's group lets in, so that polkit has to decide.
  static Program wicketAsUser(const std::vector<std::string>& words) {
    std::vector<std::string> all{"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", commandExecutable()};
    all.insert(all.end(), words.begin(), words.end());
    return Program::run(all);
  }
  void startPolkit(const std::string& answer) {
    polkit_ = support::PolkitSandbox::start(policyFile());
    ASSERT_NE(polkit_, nullptr);
    polkit_->setAnswer(answer);
  }
  /// One line on standard error that says what is wrong; nothing on standard output.
  static void expectFailure(const Program& program, int status, const std::string& reason) {
    EXPECT_EQ(program.status, status) << program.errors;
    EXPECT_EQ(program.output, "");
    EXPECT_THAT(program.errors, HasSubstr(reason));
    EXPECT_EQ(std::ranges::count(program.errors, '\n'), 1) << program.errors;
    EXPECT_THAT(program.errors, Not(HasSubstr("\x1B"))) << "colour without a terminal";
  }

 private:
  std::unique_ptr<support::PolkitSandbox> polkit_;
};

TEST_F(CommandTest, VersionPrints9417) {
  const auto version = wicket({"version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.output, "9417\n");
  EXPECT_EQ(version.errors, "");
}

TEST_F(CommandTest, RunPrintsTheOutputAndEndsWithTheScriptsStatus) {
  addScript("job.sh", "#!/bin/bash\necho one\nsleep 0.3\necho two >&2\nexit 7\n");
  const auto run = wicket({"run", "job.sh"});
  EXPECT_EQ(run.status, 7);
  EXPECT_THAT(run.output + run.errors, AllOf(HasSubstr("one\n"), HasSubstr("two\n")));
  EXPECT_EQ(wicket({"run", "job.sh"}).status, 7) << "by the same helper again";
  EXPECT_EQ(activator().lives().size(), 1U);
}

TEST_F(CommandTest, RunPrintsWhatTheScriptWritesWhileItStillRuns) {
  // The script ends once it finds its line where the command prints to; else the connection's 45 seconds do.
  addScript("job.sh", "#!/bin/bash\necho one\nuntil grep --quiet one /run/printed; do sleep 0.02; done\nexit 7\n");
  EXPECT_EQ(Program::run({"sh", "-c", commandExecutable() + " run job.sh >/run/printed"}).status, 7);
}

TEST_F(CommandTest, RunOfAScriptThatEndsWellEndsWithZero) {
  addScript("job.sh", "#!/bin/bash\necho fine\n");
  const auto run = wicket({"run", "job.sh"});
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.output, HasSubstr("fine\n"));
}

TEST_F(CommandTest, RunWithoutWaitingReturnsWhileTheScriptRuns) {
  addScript("job.sh", "#!/bin/bash\necho > /run/was-started\nsleep 1000\n");
  EXPECT_EQ(wicket({"run", "job.sh", "--no-wait"}).status, 0);
  EXPECT_TRUE(eventually([] { return std::filesystem::exists("/run/was-started"); }));
}

TEST_F(CommandTest, RunWhoseConnectionIsCutEndsWith124AndSaysThatTheScriptKeepsRunning) {
  addScript("long.sh", "#!/bin/bash\necho $$ > /run/long.pid\nsleep 1000\n");
  const auto run = wicket({"run", "long.sh"});
  EXPECT_EQ(run.status, 124);
  EXPECT_THAT(run.errors, HasSubstr("keeps running"));
  EXPECT_TRUE(ProcessInspection::isAlive(std::stoi(readFile("/run/long.pid"))));
}

TEST_F(CommandTest, RunWithoutAHelperEndsWith125) {
  stopActivator();
  expectFailure(wicket({"run", "job.sh"}), 125, "/run/net.orvane.Wicket.TlvPrivilegedHelper");
  std::filesystem::remove("/run/net.orvane.Wicket.TlvPrivilegedHelper");
  expectFailure(wicket({"run", "job.sh"}), 125, "not installed");
}

TEST_F(CommandTest, RunOfAScriptWhoseToolCannotBeStartedEndsWith126) {
  addScript("tool.sh", "#!/no/such/tool\n");
  addScript("plain.sh", "no tool\n");
  EXPECT_EQ(wicket({"run", "tool.sh"}).status, 126);
  EXPECT_EQ(wicket({"run", "plain.sh"}).status, 126);
}

TEST_F(CommandTest, RunOfAMissingScriptEndsWith127) {
  const auto run = wicket({"run", "missing.sh"});
  EXPECT_EQ(run.status, 127);
  EXPECT_THAT(run.errors, HasSubstr("missing.sh"));
}

TEST_F(CommandTest, OnlyBareNamesAreTakenAndNoHelperIsAsked) {
  for (const char* name : {"../tmp/job.sh", "sub/job.sh", "/var/orvane/job.sh", ".", "..", ""}) {
    expectFailure(wicket({"run", name}), 2, "");
    expectFailure(wicket({"remove", name}), 2, "");
  }
  EXPECT_THAT(activator().lives(), IsEmpty());
}

TEST_F(CommandTest, InstallPutsTheScriptUnderItsOwnNameOrAnother) {
  startPolkit("default");
  writeFile("/var/tmp/job.sh", "#!/bin/bash\nexit 9\n");
  const auto install = wicket({"install", "/var/tmp/job.sh"});
  EXPECT_EQ(install.status, 0) << install.errors;
  EXPECT_EQ(wicket({"install", "/var/tmp/job.sh", "--name", "other.sh"}).status, 0);
  struct stat status{};
  for (const char* path : {"/var/orvane/job.sh", "/var/orvane/other.sh"}) {
    ASSERT_EQ(::stat(path, &status), 0) << path;
    EXPECT_EQ(status.st_mode, S_IFREG | 0500U);
  }
  EXPECT_EQ(wicket({"run", "other.sh"}).status, 9);
}

TEST_F(CommandTest, InstallOfAFileWhosePathTheHelperWouldMangleArrivesIntact) {
  startPolkit("default");
  for (const char* name : {"a,b.sh", "caf\xC3\xA9.sh", "a#b.sh", "a%20b.sh", "a[1].sh", "a?b.sh"}) {
    const std::string content = std::string("#!/bin/bash\n# ") + name + "\n";
    writeFile(std::string("/var/tmp/") + name, content);
    const auto install = wicket({"install", std::string("/var/tmp/") + name, "--name", "safe.sh"});
    EXPECT_EQ(install.status, 0) << install.errors;
    EXPECT_EQ(readFile("/var/orvane/safe.sh"), content);
  }
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator("/var/tmp"), {}), 6) << "a staging folder was left";
}

TEST_F(CommandTest, InstallUnderANameThatWouldBeMangledIsRefused) {
  writeFile("/var/tmp/job.sh", "#!/bin/bash\n");
  for (const char* name : {"a,b.sh", "caf\xC3\xA9.sh", "a#b.sh", "a?b.sh", " a.sh", "sub/a.sh", "."}) {
    expectFailure(wicket({"install", "/var/tmp/job.sh", "--name", name}), 2, "");
  }
  EXPECT_THAT(activator().lives(), IsEmpty());
}

TEST_F(CommandTest, InstallOfAScriptWithoutAToolIsRefusedBeforeAnybodyIsAsked) {
  for (const char* content :
       {"", "echo hi\n", "#!\n", "\xEF\xBB\xBF#!/bin/bash\n", " #!/bin/bash\n", "#!/bin/sh\n\xFF"}) {
    writeFile("/var/tmp/job.sh", content);
    expectFailure(wicket({"install", "/var/tmp/job.sh"}), 1, "job.sh");
  }
  EXPECT_THAT(activator().lives(), IsEmpty());
}

TEST_F(CommandTest, InstallThatPolkitDeniesFailsWithItsReason) {
  startPolkit("no");
  writeFile("/var/tmp/job.sh", "#!/bin/bash\n");
  const auto install = wicketAsUser({"install", "/var/tmp/job.sh"});
  EXPECT_EQ(install.status, 1);
  EXPECT_THAT(install.errors, AllOf(HasSubstr("denied"), HasSubstr("156")));
  EXPECT_FALSE(std::filesystem::exists("/var/orvane"));
}

TEST_F(CommandTest, InstallWithNobodyToAskSaysWhatIsMissing) {
  startPolkit("default");
  writeFile("/var/tmp/job.sh", "#!/bin/bash\n");
  const auto install = wicketAsUser({"install", "/var/tmp/job.sh"});
  EXPECT_EQ(install.status, 1);
  EXPECT_THAT(install.errors, AllOf(HasSubstr("terminal"), HasSubstr("agent")));
}

TEST_F(CommandTest, InstallThatAUserMaySucceedsForThatUser) {
  startPolkit("yes");
  writeFile("/var/tmp/job.sh", "#!/bin/bash\nexit 5\n");
  const auto install = wicketAsUser({"install", "/var/tmp/job.sh"});
  EXPECT_EQ(install.status, 0) << install.errors;
  EXPECT_EQ(wicketAsUser({"run", "job.sh"}).status, 5);
}

TEST_F(CommandTest, ListShowsWhatIsInstalled) {
  EXPECT_EQ(wicket({"list"}).output, "No scripts are installed.\n");
  EXPECT_EQ(wicket({"list", "--json"}).output, "[]\n");
  addScript("one.sh", "#!/bin/bash\n");
  addScript("two words.sh", "#!/bin/bash\n");
  const auto list = wicket({"list"});
  EXPECT_EQ(list.status, 0);
  EXPECT_THAT(list.output, AllOf(HasSubstr("one.sh"), HasSubstr("two words.sh")));
  EXPECT_THAT(wicket({"list", "--json"}).output, HasSubstr("{\"name\": \"one.sh\", \"size\": 12, "));
}

TEST_F(CommandTest, RemoveRemovesAScriptAndSaysWhenThereWasNone) {
  const auto path = addScript("job.sh", "#!/bin/bash\n");
  EXPECT_EQ(wicket({"remove", "job.sh"}).status, 0);
  EXPECT_FALSE(std::filesystem::exists(path));
  const auto again = wicket({"remove", "job.sh"});
  EXPECT_EQ(again.status, 0);
  EXPECT_THAT(again.output, HasSubstr("nothing was removed"));
}

TEST_F(CommandTest, UninstallWithoutATerminalNeedsYes) {
  addScript("job.sh", "#!/bin/bash\n");
  expectFailure(wicket({"uninstall", "--all"}), 1, "--yes");
  EXPECT_TRUE(std::filesystem::exists("/var/orvane/job.sh"));
  EXPECT_THAT(activator().lives(), IsEmpty());
}

TEST_F(CommandTest, UninstallKeepsTheScriptsAndUninstallAllRemovesThem) {
  addScript("job.sh", "#!/bin/bash\n");
  EXPECT_EQ(wicket({"uninstall", "--yes"}).status, 0);
  EXPECT_TRUE(std::filesystem::exists("/var/orvane/job.sh"));
  EXPECT_EQ(wicket({"uninstall", "--all", "--yes"}).status, 0);
  EXPECT_FALSE(std::filesystem::exists("/var/orvane"));
  EXPECT_TRUE(eventually([] { return std::ranges::count(readFile("/run/systemctl.called"), '\n') == 2; }));
}

TEST_F(CommandTest, HelpIsThereForEverySubcommand) {
  for (const char* subcommand : {"version", "install", "run", "list", "remove", "uninstall"}) {
    const auto help = wicket({subcommand, "--help"});
    EXPECT_EQ(help.status, 0) << subcommand;
    EXPECT_THAT(help.output, HasSubstr(subcommand));
  }
  EXPECT_EQ(wicket({"--help"}).status, 0);
  expectFailure(wicket({"nonsense"}), 2, "");
}

}  // namespace
}  // namespace wicket::integration
