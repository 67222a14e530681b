// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/mount.h>

#include "tests/integration/IntegrationTest.h"
#include "tests/support/Machine.h"
#include "tests/support/PolkitSandbox.h"
#include "tests/support/Program.h"
#include "tests/support/Sanitizers.h"

namespace wicket::integration {
namespace {

using support::Program;
using ::testing::AllOf;
using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::Not;

/// "wicket doctor" of an ordinary user, on a machine where all is well until the test spoils something.
class DoctorTest : public IntegrationTest {
 protected:
  void SetUp() override {
    IntegrationTest::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    const std::filesystem::path installed = WICKET_INSTALLED_HELPER;
    folders_.emplace();
    ASSERT_TRUE(folders_->replace(installed.parent_path()));
    std::filesystem::copy_file(helperExecutable(), installed);
    polkit_ = support::PolkitSandbox::start(policyFile());
    ASSERT_NE(polkit_, nullptr);
  }
  void TearDown() override {
    polkit_.reset();
    folders_.reset();
    IntegrationTest::TearDown();
  }

  static Program doctor(const std::string& program = commandExecutable(), const std::vector<std::string>& through = {},
                        const std::vector<std::string>& options = {}) {
    std::vector<std::string> words{"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
    words.insert(words.end(), through.begin(), through.end());
    words.insert(words.end(), {program, "doctor"});
    words.insert(words.end(), options.begin(), options.end());
    return Program::run(words);
  }
  /// A copy of the installed command at a path where the test may spoil it.
  static std::string copied(const std::string& target = "/run/wicket") {
    std::filesystem::copy_file(commandExecutable(), target);
    EXPECT_TRUE(CompanionStage::giveGroup(target));
    return target;
  }
  static void expectProblem(const Program& program, const std::string& statement, const std::string& nextStep) {
    EXPECT_EQ(program.status, 1) << program.errors;
    EXPECT_EQ(program.errors, "");
    EXPECT_THAT(program.output, HasSubstr("problem  "));
    EXPECT_THAT(program.output, HasSubstr(statement));
    EXPECT_THAT(program.output, AllOf(HasSubstr("         Next: "), HasSubstr(nextStep)));
    EXPECT_THAT(program.output, Not(HasSubstr("\x1B"))) << "colour without a terminal";
  }

 private:
  std::optional<support::PrivateFolders> folders_;
  std::unique_ptr<support::PolkitSandbox> polkit_;
};

TEST_F(DoctorTest, EndsWithZeroWhereAllIsWell) {
  const auto program = doctor();
  EXPECT_EQ(program.status, 0) << program.output;
  EXPECT_THAT(program.output, AllOf(HasSubstr("The helper answers this program"), Not(HasSubstr("problem"))));
  EXPECT_EQ(program.errors, "");
}

TEST_F(DoctorTest, PrintsTheSameAsJson) {
  const auto well = doctor(commandExecutable(), {}, {"--json"});
  EXPECT_EQ(well.status, 0);
  EXPECT_THAT(well.output, AllOf(testing::StartsWith("{\"ok\": true, \"checks\": ["),
                                 HasSubstr("{\"check\": \"answer\", \"ok\": true, \"statement\": ")));
  const auto ill = doctor(commandExecutable(), {"setpriv", "--no-new-privs"}, {"--json"});
  EXPECT_EQ(ill.status, 1);
  EXPECT_THAT(ill.output, AllOf(testing::StartsWith("{\"ok\": false"),
                                HasSubstr("{\"check\": \"no-new-privileges\", \"ok\": false, ")));
}

TEST_F(DoctorTest, ColoursATerminal) {
  const auto program = Program::run(
      {"script", "--quiet", "--return", "--command", "env TERM=xterm " + commandExecutable() + " doctor", "/dev/null"});
  EXPECT_THAT(program.output, HasSubstr("\x1B["));
}

TEST_F(DoctorTest, ExplainsNoNewPrivileges) {
  expectProblem(doctor(commandExecutable(), {"setpriv", "--no-new-privs"}), "no_new_privs", "NoNewPrivileges=");
}

TEST_F(DoctorTest, ExplainsAUserNamespace) {
  WICKET_NEEDS(support::Need::userNamespace);
  expectProblem(doctor(commandExecutable(), {"unshare", "--user"}), "user namespace", "outside of the container");
}

TEST_F(DoctorTest, ExplainsAUserNamespaceThatMapsEverybodyToHimself) {
  WICKET_NEEDS(support::Need::userNamespace);
  const auto program = Program::run(
      {"bash", "-c",
       "mkfifo /run/made /run/mapped; unshare --user bash -c 'echo > /run/made; read < /run/mapped; "
       "exec setpriv --reuid=65534 --regid=65534 --clear-groups \"$0\" doctor' \"$0\" & read < /run/made; "
       "for map in uid_map gid_map; do echo 0 0 4294967295 > /proc/$!/$map; done; echo > /run/mapped; wait $!",
       commandExecutable()});
  expectProblem(program, "user namespace", "outside of the container");
}

TEST_F(DoctorTest, ExplainsAMissingSetGroupBit) {
  const auto program = copied();
  ASSERT_EQ(::chmod(program.c_str(), 0755), 0);
  expectProblem(doctor(program), "no set-group bit", "chmod 2755");
}

TEST_F(DoctorTest, ExplainsAnotherGroup) {
  const auto program = copied();
  ASSERT_EQ(::chown(program.c_str(), 0, 12345), 0);
  ASSERT_EQ(::chmod(program.c_str(), 02755), 0);
  expectProblem(doctor(program), "belongs to group 12345", "chown root:" WICKET_GROUP);
}

TEST_F(DoctorTest, ExplainsThatAUserHasTheGroupHimself) {
  const std::string group = CompanionStage::groupNumber();
  for (const char* real : {"65534", group.c_str()}) {
    const auto program = Program::run({"setpriv", "--reuid=65534", std::string("--regid=") + real, "--groups=" + group,
                                       commandExecutable(), "doctor"});
    expectProblem(program, "has the group " WICKET_GROUP " himself", "gpasswd --delete");
    EXPECT_THAT(program.output, HasSubstr("The helper refuses this program"));
  }
}

TEST_F(DoctorTest, ExplainsANosuidMount) {
  std::filesystem::create_directory("/run/nosuid");
  ASSERT_EQ(::mount("wicket-tests", "/run/nosuid", "tmpfs", MS_NOSUID, "mode=755"), 0);
  const auto program = doctor(copied("/run/nosuid/wicket"));
  ::umount2("/run/nosuid", MNT_DETACH);
  expectProblem(program, "mounted with nosuid", "without nosuid");
}

TEST_F(DoctorTest, ExplainsAMissingSignature) {
  const auto program = copied();
  std::filesystem::resize_file(program, std::filesystem::file_size(program) - 1);
  ASSERT_TRUE(CompanionStage::giveGroup(program));
  expectProblem(doctor(program), "is not signed", "wicket-codesign");
}

TEST_F(DoctorTest, ExplainsAnAlteredProgram) {
  const auto program = copied();
  std::string content = readFile(program);
  const std::size_t text = content.find("Run an installed script as root");
  ASSERT_NE(text, std::string::npos);
  content[text] = 'r';
  writeFile(program, content);
  ASSERT_TRUE(CompanionStage::giveGroup(program));
  expectProblem(doctor(program), "has been altered", "install Wicket again");
}

TEST_F(DoctorTest, ExplainsAMissingSocket) {
  stopActivator();
  std::filesystem::remove("/run/net.orvane.Wicket.TlvPrivilegedHelper");
  expectProblem(doctor(), "There is no socket", "systemctl enable --now");
}

TEST_F(DoctorTest, ExplainsASocketOfAnotherMode) {
  ASSERT_TRUE(CompanionStage::giveGroup("/run/net.orvane.Wicket.TlvPrivilegedHelper", 0666));
  expectProblem(doctor(), "mode 0666", "systemctl restart");
}

TEST_F(DoctorTest, ExplainsAMissingHelper) {
  std::filesystem::remove(WICKET_INSTALLED_HELPER);
  expectProblem(doctor(), "The helper is not installed", "Install");
}

/// The lines that name a problem, each with the next step below it.
std::vector<std::string> problemsIn(const std::string& output) {
  std::vector<std::string> problems;
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("problem  ")) {
      problems.push_back(line);
    } else if (!problems.empty() && line.starts_with("         Next: ")) {
      problems.back() += line;
    }
  }
  return problems;
}

TEST_F(DoctorTest, SaysWhatItCouldNotLookAtWhereThereAreTooFewDescriptors) {
  if (support::hasAddressSanitizer) GTEST_SKIP() << "at its end the sanitizer opens files to look for leaks";
  // With three there is no way to open a library, and so no program starts.
  std::size_t missedLooks = 0;
  for (int limit = 4; limit <= 12; ++limit) {
    const auto program = doctor(commandExecutable(), {"prlimit", "--nofile=" + std::to_string(limit)});
    EXPECT_EQ(program.errors, "") << limit;
    const auto problems = problemsIn(program.output);
    EXPECT_EQ(program.status, problems.empty() ? 0 : 1) << limit;
    EXPECT_THAT(problems, Each(AllOf(HasSubstr("Too many open files"), HasSubstr("Next: Raise the limit"))))
        << limit << "\n"
        << program.output;
    missedLooks += problems.size();
  }
  EXPECT_GT(missedLooks, 0U);
}

TEST_F(DoctorTest, ExplainsAMissingPolkitAction) {
  std::filesystem::remove("/usr/share/polkit-1/actions/net.orvane.Wicket.TlvPrivilegedHelper.policy");
  expectProblem(doctor(), "polkit does not know the action", "Install");
}

}  // namespace
}  // namespace wicket::integration
