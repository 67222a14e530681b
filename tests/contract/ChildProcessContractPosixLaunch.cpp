// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "adapters/linux/LimitedSpawn.h"
#include "adapters/posix/PosixChildProcessLauncher.h"
#include "base/system/Descriptor.h"
#include "tests/contract/ChildWorlds.h"
#include "tests/support/ChildRecorder.h"
#include "tests/support/TemporaryFolder.h"

namespace wicket::contract {
namespace {

using namespace std::string_literals;

/// A way to start a child, and what it is called.
struct Spawning {
  const char* name;
  posix::SpawnChild spawnChild;
};
void PrintTo(const Spawning& spawning, std::ostream* stream) { *stream << spawning.name; }

// How a real child is started: what it may be, and what it finds when it runs.
class ChildProcessContractPosixLaunch : public testing::TestWithParam<Spawning> {
 protected:
  std::string file(const std::string& name, const std::string& content, mode_t mode) {
    const std::string path = folder_.path(name);
    std::ofstream(path, std::ios::binary) << content;
    EXPECT_EQ(::chmod(path.c_str(), mode), 0);
    return path;
  }

  // The errno of the launch; 0 for success.
  int launchError(const std::string& tool, const std::vector<std::string>& arguments = {}) {
    support::ChildRecorder recorder;
    const auto child = launcher_.launch(recorder.task(tool, arguments));
    EXPECT_TRUE(recorder.waitForRelease());
    EXPECT_EQ(recorder.record().terminations.size(), child ? 1U : 0U);
    return child ? 0 : child.error().number;
  }

  // Everything the child wrote to standard output.
  std::string outputOf(const std::string& tool, const std::vector<std::string>& arguments) {
    support::ChildRecorder recorder;
    const auto child = launcher_.launch(recorder.task(tool, arguments));
    EXPECT_TRUE(child);
    EXPECT_TRUE(recorder.waitForRelease());
    return recorder.record().output;
  }

  // A field of /proc/PID/status as the child sees it.
  std::string ownStatus(const std::string& field) {
    std::istringstream lines(outputOf("/bin/cat", {"/proc/self/status"}));
    for (std::string line; std::getline(lines, line);) {
      if (line.starts_with(field + ":\t")) return line.substr(field.size() + 2);
    }
    return "no such field";
  }

  support::TemporaryFolder folder_;
  PosixChildProcessLauncher launcher_{GetParam().spawnChild};
};

INSTANTIATE_TEST_SUITE_P(Spawned, ChildProcessContractPosixLaunch,
                         testing::Values(Spawning{"ByThePosixCall", posix::spawnChild},
                                         Spawning{"WithALimitOfItsOwn", LimitedChildren::spawnChild()}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(ChildProcessContractPosixLaunch, AToolThatIsMissingIsALaunchError) {
  EXPECT_EQ(launchError(folder_.path("missing")), ENOENT);
  EXPECT_EQ(launchError(""), ENOENT);
  EXPECT_EQ(launchError(file("file", "x", 0644) + "/tool"), ENOTDIR);
}

TEST_P(ChildProcessContractPosixLaunch, AToolThatIsADirectoryOrAFifoIsALaunchError) {
  ASSERT_EQ(::mkfifo(folder_.path("fifo").c_str(), 0777), 0);
  EXPECT_EQ(launchError(folder_.path()), EACCES);
  EXPECT_EQ(launchError(folder_.path("fifo")), EACCES);
}

TEST_P(ChildProcessContractPosixLaunch, AToolWithoutExecutePermissionIsALaunchError) {
  EXPECT_EQ(launchError(file("tool", "#!/bin/sh\nexit 0\n", 0644)), EACCES);
}

TEST_P(ChildProcessContractPosixLaunch, AFileOfNoKnownFormatIsALaunchErrorAndNoShellIsTried) {
  EXPECT_EQ(launchError(file("text", "exit 0\n", 0755)), ENOEXEC);
  EXPECT_EQ(launchError(file("empty", "", 0755)), ENOEXEC);
}

TEST_P(ChildProcessContractPosixLaunch, AToolWhoseInterpreterIsMissingIsALaunchError) {
  EXPECT_EQ(launchError(file("tool", "#!/no/such/interpreter\n", 0755)), ENOENT);
}

TEST_P(ChildProcessContractPosixLaunch, MoreArgumentsThanTheSystemTakesAreALaunchError) {
  const std::string oneMegabyte(std::size_t{1} << 20, 'a');
  EXPECT_EQ(launchError("/bin/true", {oneMegabyte}), E2BIG);
}

TEST_P(ChildProcessContractPosixLaunch, NoDescriptorLeftIsALaunchError) {
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  const Descriptor next(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  // Room for some of the pipes, not for all.
  rlimit tight = before;
  tight.rlim_cur = static_cast<rlim_t>(next.get()) + 4;
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &tight), 0);
  const int error = launchError("/bin/true");
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_EQ(error, EMFILE);
  EXPECT_EQ(launchError("/bin/true"), 0);
}

TEST_P(ChildProcessContractPosixLaunch, NoThreadLeftIsALaunchErrorAndStartsNoChild) {
  // No address space holds a thread with such a stack.
  constexpr std::size_t impossible = std::size_t{1} << 50;
  pthread_attr_t before;
  pthread_attr_t huge;
  ASSERT_EQ(::pthread_getattr_default_np(&before), 0);
  ASSERT_EQ(::pthread_attr_init(&huge), 0);
  ASSERT_EQ(::pthread_attr_setstacksize(&huge, impossible), 0);
  ASSERT_EQ(::pthread_setattr_default_np(&huge), 0);
  const int error = launchError("/bin/sh", {"-c", "echo > '" + folder_.path("ran") + "'"});
  ASSERT_EQ(::pthread_setattr_default_np(&before), 0);
  ::pthread_attr_destroy(&huge);
  ::pthread_attr_destroy(&before);
  EXPECT_EQ(error, EAGAIN);
  EXPECT_FALSE(std::filesystem::exists(folder_.path("ran")));
}

TEST_P(ChildProcessContractPosixLaunch, AToolMayItselfBeAScript) {
  const std::string inner = file("inner", "#!/bin/sh\nprintf '<%s>' \"$@\"\n", 0755);
  const std::string outer = file("outer", "#!" + inner + " option\n", 0755);
  EXPECT_EQ(outputOf(outer, {"a b", "c"}), "<option><" + outer + "><a b><c>");
}

TEST_P(ChildProcessContractPosixLaunch, ARelativeToolIsFoundFromTheCurrentDirectoryAndNowhereElse) {
  file("tool", "#!/bin/sh\nprintf '%s' \"$PWD\"\n", 0755);
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(folder_.path());
  const std::string output = outputOf("./tool", {});
  const std::string plainName = outputOf("tool", {});
  std::filesystem::current_path(before);
  EXPECT_EQ(output, folder_.path());
  EXPECT_EQ(plainName, folder_.path());
  EXPECT_EQ(launchError("true"), ENOENT);
}

TEST_P(ChildProcessContractPosixLaunch, ArgumentsArriveVerbatimEmptyOnesIncludedAndCutAtANul) {
  EXPECT_EQ(
      outputOf("/bin/sh", {"-c", "printf '<%s>' \"$0\" \"$@\"", "zero", "", "a b", "$HOME \"'*", "cut\0off"s, "\xFF"}),
      "<zero><><a b><$HOME \"'*><cut><\xFF>");
}

TEST_P(ChildProcessContractPosixLaunch, TheFirstArgumentIsTheLaunchPath) {
  const std::string tool = outputOf("/bin/cat", {"/proc/self/cmdline"});
  EXPECT_EQ(tool, "/bin/cat\0/proc/self/cmdline\0"s);
}

TEST_P(ChildProcessContractPosixLaunch, TenThousandArgumentsArrive) {
  std::vector<std::string> arguments{"-c", "printf '%s' \"$#\"", "zero"};
  arguments.resize(arguments.size() + 10'000, "x");
  EXPECT_EQ(outputOf("/bin/sh", arguments), "10000");
}

TEST_P(ChildProcessContractPosixLaunch, TheEnvironmentIsInherited) {
  ASSERT_EQ(::setenv("WICKET_TEST_VALUE", "from the parent", 1), 0);
  EXPECT_EQ(outputOf("/bin/sh", {"-c", "printf '%s' \"$WICKET_TEST_VALUE\""}), "from the parent");
  ::unsetenv("WICKET_TEST_VALUE");
}

TEST_P(ChildProcessContractPosixLaunch, TheChildLeadsAProcessGroupInTheSameSession) {
  std::istringstream fields(outputOf("/bin/cat", {"/proc/self/stat"}));
  long pid = 0;
  std::string name;
  std::string state;
  long parent = 0;
  long group = 0;
  long session = 0;
  fields >> pid >> name >> state >> parent >> group >> session;
  EXPECT_EQ(parent, ::getpid());
  EXPECT_EQ(group, pid);
  EXPECT_NE(group, ::getpgrp());
  EXPECT_EQ(session, ::getsid(0));
}

TEST_P(ChildProcessContractPosixLaunch, TheChildStartsWithNoSignalBlockedOrIgnored) {
  sigset_t blocked;
  sigset_t before;
  ::sigemptyset(&blocked);
  ::sigaddset(&blocked, SIGUSR1);
  ::sigaddset(&blocked, SIGTERM);
  ASSERT_EQ(::pthread_sigmask(SIG_BLOCK, &blocked, &before), 0);
  const auto pipe = ::signal(SIGPIPE, SIG_IGN);
  const auto hangUp = ::signal(SIGHUP, SIG_IGN);
  EXPECT_EQ(ownStatus("SigBlk"), "0000000000000000");
  // Signals 32 and 33 belong to the C library, which ignores them in every child.
  constexpr unsigned long long ownOfTheLibrary = 0x180000000;
  EXPECT_EQ(std::stoull(ownStatus("SigIgn"), nullptr, 16) & ~ownOfTheLibrary, 0U);
  ::signal(SIGPIPE, pipe);
  ::signal(SIGHUP, hangUp);
  sigset_t after;
  ASSERT_EQ(::pthread_sigmask(SIG_SETMASK, &before, &after), 0);
  EXPECT_EQ(::sigismember(&after, SIGUSR1), 1) << "the launch changed the caller's signal mask";
  EXPECT_EQ(::sigismember(&after, SIGINT), 0) << "the launch changed the caller's signal mask";
}

TEST_P(ChildProcessContractPosixLaunch, ALauncherMadeWhileSigchldIsIgnoredStillGetsStatuses) {
  const auto before = ::signal(SIGCHLD, SIG_IGN);
  PosixChildProcessLauncher launcher(GetParam().spawnChild);
  support::ChildRecorder recorder;
  const auto child = launcher.launch(recorder.shell("exit 3"));
  ASSERT_TRUE(child);
  EXPECT_EQ((*child)->waitUntilExit(), 3);
  EXPECT_TRUE(recorder.waitForRelease());
  ::signal(SIGCHLD, before);
}

TEST_P(ChildProcessContractPosixLaunch, OnlyTheThreeStandardDescriptorsReachTheChild) {
  const Descriptor low(::open("/dev/null", O_RDONLY));
  const Descriptor high(::fcntl(low.get(), F_DUPFD, 500));
  ASSERT_TRUE(high.isOpen());
  // Number 3 is the folder that ls itself reads.
  EXPECT_EQ(outputOf("/bin/ls", {"/proc/self/fd"}), "0\n1\n2\n3\n");
  EXPECT_TRUE(outputOf("/bin/ls", {"-l", "/proc/self/fd/3"}).empty());
}

// A process without standard streams, as some service managers start it.
class WithoutStandardStreams {
 public:
  WithoutStandardStreams() {
    std::fflush(nullptr);
    for (const int number : {0, 1, 2}) {
      kept_.emplace_back(::fcntl(number, F_DUPFD_CLOEXEC, 10));
      ::close(number);
    }
  }
  WithoutStandardStreams(const WithoutStandardStreams&) = delete;
  WithoutStandardStreams& operator=(const WithoutStandardStreams&) = delete;
  ~WithoutStandardStreams() {
    for (int number = 0; number < 3; ++number) ::dup2(kept_[static_cast<std::size_t>(number)].get(), number);
  }

 private:
  std::vector<Descriptor> kept_;
};

TEST_P(ChildProcessContractPosixLaunch, NoPipeOfAChildBecomesAStandardStreamOfTheParent) {
  support::ChildRecorder recorder;
  std::vector<bool> taken;
  {
    const WithoutStandardStreams closed;
    const auto child = launcher_.launch(recorder.shell("echo $$; read -r line"));
    for (const int number : {0, 1, 2}) taken.push_back(::fcntl(number, F_GETFD) != -1);
  }
  EXPECT_EQ(taken, (std::vector<bool>{false, false, false}));
  ASSERT_TRUE(recorder.waitFor([](const auto& record) { return record.output.ends_with('\n'); }));
  ASSERT_EQ(::kill(std::stoi(recorder.record().output), SIGTERM), 0);
  EXPECT_TRUE(recorder.waitForRelease());
}

TEST_P(ChildProcessContractPosixLaunch, TheStandardStreamsAreThreeDifferentPipesEvenIfTheParentHasNone) {
  std::string shown;
  {
    const WithoutStandardStreams closed;
    shown = outputOf("/bin/sh", {"-c", "readlink /proc/$$/fd/0 /proc/$$/fd/1 /proc/$$/fd/2"});
  }
  std::istringstream lines(shown);
  std::string input;
  std::string output;
  std::string error;
  lines >> input >> output >> error;
  for (const auto& stream : {input, output, error}) EXPECT_TRUE(stream.starts_with("pipe:")) << shown;
  EXPECT_TRUE(input != output && output != error && error != input) << shown;
}

TEST_P(ChildProcessContractPosixLaunch, AChildThatReadsItsInputWaits) {
  support::ChildRecorder recorder;
  const auto child = launcher_.launch(recorder.shell("echo $$; read -r line; exit 1"));
  ASSERT_TRUE(child);
  ASSERT_TRUE(recorder.waitFor([](const auto& record) { return record.output.ends_with('\n'); }));
  EXPECT_FALSE(recorder.waitFor([](const auto& record) { return !record.terminations.empty(); },
                                std::chrono::milliseconds(300)));
  ASSERT_EQ(::kill(std::stoi(recorder.record().output), SIGTERM), 0);
  EXPECT_EQ((*child)->waitUntilExit(), SIGTERM);
}

TEST(LimitedSpawnTest, AChildHasTheLimitOfDescriptorsThatItIsGivenAndNotThatOfItsParent) {
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit own{before.rlim_max, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &own), 0);
  PosixChildProcessLauncher launcher(linux_adapter::LimitedSpawn{{321, before.rlim_max}});
  support::ChildRecorder recorder;
  const auto child = launcher.launch(recorder.shell("ulimit -Sn; ulimit -Hn"));
  EXPECT_TRUE(recorder.waitForRelease());
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_EQ(recorder.record().output, "321\n" + std::to_string(before.rlim_max) + "\n");
}

}  // namespace
}  // namespace wicket::contract
