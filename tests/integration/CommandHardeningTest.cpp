// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <sys/mount.h>
#include <sys/stat.h>
#include <thread>

#include "tests/integration/IntegrationTest.h"
#include "tests/support/PolkitSandbox.h"
#include "tests/support/Program.h"

namespace wicket::integration {
namespace {

using namespace std::chrono_literals;
using support::Program;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

// How an ordinary user may start the command: lines of bash whose last one becomes "$@".
constexpr char plainly[] = "exec \"$@\"";
constexpr char withMisleadingVariables[] =
    "exec env LD_LIBRARY_PATH=/var/tmp/libraries LD_AUDIT=libBrokenLocale.so.1 LD_PRELOAD=libBrokenLocale.so.1 "
    "GLIBC_TUNABLES=glibc.malloc.check=3 OPENSSL_CONF=/var/tmp/openssl.cnf OPENSSL_MODULES=/var/tmp "
    "DBUS_SYSTEM_BUS_ADDRESS=unix:path=/var/tmp/bus XDG_RUNTIME_DIR=/var/tmp/runtime TMPDIR=/var/tmp/other "
    "LC_ALL=../../var/tmp TERM=../evil TZ=/dev/full PATH=/var/tmp MALLOC_TRACE=/var/tmp/trace \"$@\"";
constexpr char withAThousandDescriptors[] =
    "for ((i = 3; i < 1003; ++i)); do eval \"exec $i</dev/null\"; done\nexec \"$@\"";
constexpr char withSignalsIgnoredAndBlocked[] =
    "exec env --ignore-signal=INT --ignore-signal=PIPE --ignore-signal=CHLD --block-signal \"$@\"";
constexpr char withFourDescriptors[] = "exec prlimit --nofile=4:4 \"$@\"";
constexpr char withFewDescriptorsForNow[] = "exec prlimit --nofile=4: \"$@\"";
constexpr char withoutFileSize[] = "exec prlimit --fsize=0:0 \"$@\"";
constexpr char withoutAnyMask[] = "umask 0777\nexec \"$@\"";
constexpr char withoutInput[] = "exec \"$@\" <&-";
constexpr char withEverythingAtOnce[] =
    "echo $$ >/var/tmp/wicket.pid\numask 0777\n"
    "for ((i = 3; i < 1003; ++i)); do eval \"exec $i</dev/null\"; done\n"
    "exec prlimit --fsize=0: --nofile=1010: --core=unlimited "
    "env --ignore-signal=INT --ignore-signal=PIPE --ignore-signal=CHLD --block-signal "
    "LD_PRELOAD=libBrokenLocale.so.1 LD_AUDIT=libBrokenLocale.so.1 OPENSSL_CONF=/var/tmp/openssl.cnf \"$@\"";

/// What is on standard error without the words of the system's loader, which comes before the program.
std::string ownErrors(const Program& program) {
  std::string own;
  std::istringstream lines(program.errors);
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with("ERROR: ld.so: ")) own += line + "\n";
  }
  return own;
}

/// The installed command, started by an ordinary user who means it no good.
class CommandHardeningTest : public IntegrationTest {
 protected:
  void TearDown() override {
    polkit_.reset();
    if (agentIsReplaced_) ::umount2(agent, MNT_DETACH);
    IntegrationTest::TearDown();
  }

  static std::vector<std::string> asUser(std::vector<std::string> words) {
    words.insert(words.begin(), {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"});
    return words;
  }
  static std::vector<std::string> started(const std::string& how, const std::vector<std::string>& words) {
    std::vector<std::string> all = asUser({"bash", "-c", how, "bash", commandExecutable()});
    all.insert(all.end(), words.begin(), words.end());
    return all;
  }
  static Program wicket(const std::string& how, const std::vector<std::string>& words) {
    return Program::run(started(how, words));
  }

  void startPolkit() {
    polkit_ = support::PolkitSandbox::start(policyFile());
    ASSERT_NE(polkit_, nullptr);
    polkit_->setAnswer("yes");
  }
  /// In place of polkit's password prompt, which the command starts when it has a terminal.
  void replaceAgent(const std::string& content) {
    writeFile("/run/agent", content, 0755);
    agentIsReplaced_ = ::mount("/run/agent", agent, nullptr, MS_BIND, nullptr) == 0;
    ASSERT_TRUE(agentIsReplaced_);
  }

 private:
  static constexpr char agent[] = "/usr/bin/pkttyagent";

  std::unique_ptr<support::PolkitSandbox> polkit_;
  bool agentIsReplaced_ = false;
};

constexpr char sanitizerNeedsAFile[] = "the sanitizer makes a file of its own before the program begins";

struct Hostility {
  std::string name;
  std::string how;
};

void PrintTo(const Hostility& hostility, std::ostream* stream) { *stream << hostility.name; }

class CommandInAHostileStateTest : public CommandHardeningTest, public testing::WithParamInterface<Hostility> {
 protected:
  void SetUp() override {
    CommandHardeningTest::SetUp();
    if (support::hasThreadSanitizer && GetParam().how == withoutFileSize) GTEST_SKIP() << sanitizerNeedsAFile;
  }
};

TEST_P(CommandInAHostileStateTest, StillHelpsAndLists) {
  addScript("one.sh", "#!/bin/bash\n");
  const auto help = wicket(GetParam().how, {"--help"});
  EXPECT_EQ(help.status, 0) << help.errors;
  EXPECT_THAT(help.output, HasSubstr("install"));
  EXPECT_EQ(ownErrors(help), "");
  const auto list = wicket(GetParam().how, {"list"});
  EXPECT_EQ(list.status, 0) << list.errors;
  EXPECT_THAT(list.output, HasSubstr("one.sh"));
  EXPECT_EQ(ownErrors(list), "");
}

INSTANTIATE_TEST_SUITE_P(All, CommandInAHostileStateTest,
                         testing::Values(Hostility{"None", plainly},
                                         Hostility{"MisleadingVariables", withMisleadingVariables},
                                         Hostility{"AThousandDescriptors", withAThousandDescriptors},
                                         Hostility{"SignalsIgnoredAndBlocked", withSignalsIgnoredAndBlocked},
                                         Hostility{"FourDescriptors", withFourDescriptors},
                                         Hostility{"FewDescriptorsForNow", withFewDescriptorsForNow},
                                         Hostility{"NoFileSize", withoutFileSize}, Hostility{"NoMask", withoutAnyMask},
                                         Hostility{"NoInput", withoutInput},
                                         Hostility{"EverythingAtOnce", withEverythingAtOnce}),
                         [](const auto& entry) { return entry.param.name; });

TEST_P(CommandInAHostileStateTest, IsStillServed) {
  const auto version = wicket(GetParam().how, {"version"});
  EXPECT_EQ(version.status, 0) << version.errors;
  EXPECT_EQ(version.output, "9417\n");
  EXPECT_EQ(ownErrors(version), "");
}

TEST_F(CommandHardeningTest, OutputThatHasNowhereToGoIsAFailureAndHitsNoFile) {
  const auto list = wicket("exec \"$@\" >&-", {"list"});
  EXPECT_EQ(list.status, 1);
  EXPECT_THAT(list.errors, HasSubstr("Standard output could not be written"));
  EXPECT_EQ(wicket("exec \"$@\" <&- >&- 2>&-", {"list"}).status, 1);
  EXPECT_EQ(wicket("exec \"$@\" 2>&-", {"nonsense"}).status, 2);
}

/// A line of a file in /proc, without its name.
std::string valueIn(const std::string& text, const std::string& name) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with(name)) continue;
    const std::size_t start = line.find_first_not_of(" \t", name.size());
    return start == std::string::npos ? "" : line.substr(start);
  }
  return "no " + name;
}

/// The signals in a mask of /proc, without the two with which the C library starts every child.
std::set<int> signalsIn(const std::string& mask) {
  const unsigned long long bits = std::stoull(mask, nullptr, 16);
  std::set<int> signals;
  for (int signal = 1; signal <= 64; ++signal) {
    const bool isOfLibrary = signal == SIGSYS + 1 || signal == SIGSYS + 2;
    if (!isOfLibrary && ((bits >> (signal - 1)) & 1U) != 0) signals.insert(signal);
  }
  return signals;
}

/// A command that waits for its script, which ends with 3 when the test lets it.
class RunningCommandTest : public CommandHardeningTest {
 protected:
  void startWith(const std::string& how) {
    addScript("wait.sh", "#!/bin/bash\ntouch /run/started\nuntil [[ -e /run/go ]]; do sleep 0.02; done\nexit 3\n");
    runner_ = std::thread([this, how] { result_ = wicket(how, {"run", "wait.sh"}); });
    ASSERT_TRUE(eventually([] { return std::filesystem::exists("/run/started"); }));
    pid_ = std::stoi(readFile("/var/tmp/wicket.pid"));
  }
  void TearDown() override {
    finish();
    CommandHardeningTest::TearDown();
  }
  Program finish() {
    if (runner_.joinable()) {
      std::ofstream("/run/go").put(' ');
      runner_.join();
    }
    return result_;
  }
  [[nodiscard]] std::string proc(const std::string& name) const { return "/proc/" + std::to_string(pid_) + "/" + name; }
  [[nodiscard]] std::string status(const std::string& name) const { return valueIn(readFile(proc("status")), name); }

 private:
  std::thread runner_;
  Program result_;
  pid_t pid_ = 0;
};

TEST_F(RunningCommandTest, HasNothingLeftOfWhatItsCallerPrepared) {
  startWith(withEverythingAtOnce);
  EXPECT_EQ(status("Umask:"), "0077");
  EXPECT_EQ(status("SigBlk:"), "0000000000000000");
  // SIGXFSZ makes writing fail instead of ending the command; SIGINT asks a background job to be left alone.
  EXPECT_EQ(signalsIn(status("SigIgn:")), (std::set<int>{SIGINT, SIGXFSZ}));
  EXPECT_EQ(status("NoNewPrivs:"), "0");
  const std::string limits = readFile(proc("limits"));
  EXPECT_THAT(valueIn(limits, "Max core file size"), testing::StartsWith("0 "));
  EXPECT_THAT(valueIn(limits, "Max file size"), testing::StartsWith("unlimited"));
  EXPECT_THAT(valueIn(limits, "Max open files"), testing::StartsWith("1024 "));
  for (const auto& entry : std::filesystem::directory_iterator(proc("fd"))) {
    const std::string number = entry.path().filename();
    if (std::stoi(number) <= 2) continue;
    EXPECT_NE(std::filesystem::read_symlink(entry), "/dev/null") << number;
  }
  EXPECT_EQ(finish().status, 3);
}

TEST_F(RunningCommandTest, HasGivenUpItsGroupForGoodAndCannotBeLookedInto) {
  startWith("echo $$ >/var/tmp/wicket.pid\nexec \"$@\"");
  EXPECT_EQ(status("Gid:"), "65534\t65534\t65534\t65534");
  EXPECT_EQ(status("Groups:"), "");
  struct stat link{};
  ASSERT_EQ(::lstat(proc("exe").c_str(), &link), 0);
  EXPECT_EQ(link.st_uid, 0U);
  for (const char* name : {"environ", "maps", "mem", "fd/0"}) {
    EXPECT_NE(Program::run(asUser({"head", "-c", "1", proc(name)})).status, 0) << name;
  }
}

TEST_F(RunningCommandTest, HasLoadedNoLibraryOfItsCallers) {
  constexpr char alienLibrary[] = "libBrokenLocale";
  // The same variables do bring it into a program without a set-group bit.
  const auto control = Program::run(asUser({"env", "LD_PRELOAD=libBrokenLocale.so.1", "cat", "/proc/self/maps"}));
  ASSERT_THAT(control.output, HasSubstr(alienLibrary));
  startWith(withEverythingAtOnce);
  EXPECT_THAT(readFile(proc("maps")), Not(HasSubstr(alienLibrary)));
  EXPECT_THAT(readFile(proc("maps")), HasSubstr("libc.so"));
}

TEST_F(CommandHardeningTest, ThePasswordAgentGetsACleanEnvironmentAndNoGroup) {
  startPolkit();
  replaceAgent(
      "#!/usr/bin/perl\n"
      "sub copied { local $/; open my $in, '<', $_[0]; open my $out, '>', $_[1]; print $out readline $in }\n"
      "copied '/proc/self/environ', '/var/tmp/agent.environment';\n"
      "copied '/proc/self/status', '/var/tmp/agent.status';\n");
  writeFile("/var/tmp/job.sh", "#!/bin/bash\n");
  writeFile("/var/tmp/hostile", std::string("#!/bin/bash\n") + withMisleadingVariables, 0755);
  const auto install = Program::run(
      asUser({"script", "--quiet", "--return", "--command",
              "env LANG=C.UTF-8 /var/tmp/hostile " + commandExecutable() + " install /var/tmp/job.sh", "/dev/null"}));
  EXPECT_EQ(install.status, 0) << install.output << install.errors;
  std::string environment = readFile("/var/tmp/agent.environment");
  std::ranges::replace(environment, '\0', '\n');
  EXPECT_EQ(environment, "PATH=/usr/sbin:/usr/bin:/sbin:/bin\nLANG=C.UTF-8\n");
  const std::string status = readFile("/var/tmp/agent.status");
  EXPECT_EQ(valueIn(status, "Gid:"), "65534\t65534\t65534\t65534");
  EXPECT_THAT(signalsIn(valueIn(status, "SigBlk:")), IsEmpty());
  EXPECT_THAT(signalsIn(valueIn(status, "SigIgn:")), Not(testing::Contains(SIGXFSZ)));
}

TEST_F(CommandHardeningTest, AScriptIsReadWithTheUsersOwnGroupOnly) {
  writeFile("/var/tmp/secret.sh", "#!/bin/bash\n");
  ASSERT_TRUE(CompanionStage::giveGroup("/var/tmp/secret.sh", 0640));
  const auto install = wicket(plainly, {"install", "/var/tmp/secret.sh"});
  EXPECT_EQ(install.status, 1);
  EXPECT_THAT(install.errors, HasSubstr("Permission denied"));
}

TEST_F(CommandHardeningTest, ARelativePathStartsInTheCallersFolder) {
  startPolkit();
  writeFile("/var/tmp/job.sh", "#!/bin/bash\nexit 4\n");
  const auto install = wicket("cd /var/tmp && exec \"$@\"", {"install", "./job.sh"});
  EXPECT_EQ(install.status, 0) << install.errors;
  EXPECT_EQ(wicket(plainly, {"run", "job.sh"}).status, 4);
}

TEST_F(CommandHardeningTest, ACopyThatMayNotBeWrittenLeavesNothingBehind) {
  if (support::hasThreadSanitizer) GTEST_SKIP() << sanitizerNeedsAFile;
  support::PrivateFolders folders;
  ASSERT_TRUE(folders.replace("/tmp"));
  ASSERT_EQ(::chmod("/tmp", 01777), 0);
  writeFile("/var/tmp/a,b.sh", "#!/bin/bash\n");
  const auto install = wicket(withoutFileSize, {"install", "/var/tmp/a,b.sh", "--name", "job.sh"});
  EXPECT_EQ(install.status, 1);
  EXPECT_THAT(install.errors, HasSubstr("File too large"));
  EXPECT_THAT(std::vector(std::filesystem::directory_iterator("/tmp"), {}), IsEmpty());
}

TEST_F(CommandHardeningTest, AnAlarmThatTheCallerSetDoesNotGoOff) {
  // Long enough for any command to have begun, and over before the script is.
  addScript("wait.sh", "#!/bin/bash\nsleep 11\nexit 6\n");
  const auto run = wicket("exec perl -e 'alarm 10; exec { $ARGV[0] } @ARGV' \"$@\"", {"run", "wait.sh"});
  EXPECT_EQ(run.status, 6) << run.errors;
}

}  // namespace
}  // namespace wicket::integration
