// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <expected>
#include <gtest/gtest.h>
#include <optional>
#include <span>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "base/system/Pipe.h"
#include "base/system/ReadWrite.h"
#include "base/system/linux/PinnedProcess.h"
#include "base/system/linux/Shortage.h"

namespace wicket::linux_adapter {
namespace {

/// A child that waits until it is ended.
class WaitingChild {
 public:
  explicit WaitingChild(const char* name = "waiting") {
    const auto ready = system::Pipe::make();
    if (!ready) return;
    pid_ = ::fork();
    if (pid_ == 0) {
      ::prctl(PR_SET_NAME, name);
      static_cast<void>(system::writeAll(ready->writeEnd.get(), std::as_bytes(std::span("x", 1))));
      for (;;) ::pause();
    }
    std::array<std::byte, 1> byte{};
    static_cast<void>(system::readSome(ready->readEnd.get(), byte));
  }
  WaitingChild(const WaitingChild&) = delete;
  WaitingChild& operator=(const WaitingChild&) = delete;
  ~WaitingChild() { bury(); }

  [[nodiscard]] pid_t pid() const { return pid_; }
  /// It has ended then, but it keeps its number.
  void kill() const {
    ::kill(pid_, SIGKILL);
    siginfo_t end{};
    ::waitid(P_PID, static_cast<id_t>(pid_), &end, WEXITED | WNOWAIT);
  }
  /// From then on there is no such process.
  void bury() {
    if (pid_ <= 0) return;
    kill();
    ::waitpid(pid_, nullptr, 0);
    pid_ = -1;
  }

 private:
  pid_t pid_ = -1;
};

pid_t pidOfNobody() {
  WaitingChild child;
  const pid_t pid = child.pid();
  child.bury();
  return pid;
}

std::uint64_t ticksSinceBoot() {
  timespec now{};
  ::clock_gettime(CLOCK_BOOTTIME, &now);
  const auto ticks = static_cast<std::uint64_t>(::sysconf(_SC_CLK_TCK));
  return static_cast<std::uint64_t>(now.tv_sec) * ticks +
         static_cast<std::uint64_t>(now.tv_nsec) * ticks / 1'000'000'000U;
}

TEST(PidfdTest, IsOpenForAProcessAndNotForANumberOfNobody) {
  EXPECT_TRUE(Pidfd::open(::getpid()).isOpen());
  EXPECT_TRUE(Pidfd::open(::getpid()).isAlive());
  const Pidfd none = Pidfd::open(pidOfNobody());
  EXPECT_EQ(errno, ESRCH);
  EXPECT_FALSE(none.isOpen());
}

TEST(PidfdTest, AProcessIsNotAliveOnceItHasEndedThoughItsParentHasNotTakenNotice) {
  const WaitingChild child;
  const Pidfd pidfd = Pidfd::open(child.pid());
  EXPECT_TRUE(pidfd.isAlive());
  child.kill();
  EXPECT_FALSE(pidfd.isAlive());
}

TEST(PidfdTest, TheInodeIsTheProcessesOwnOrZero) {
  const WaitingChild child;
  const std::uint64_t own = Pidfd::open(::getpid()).inode();
  EXPECT_EQ(Pidfd::open(::getpid()).inode(), own);
  EXPECT_TRUE(own == 0 || Pidfd::open(child.pid()).inode() != own);
  EXPECT_EQ(Pidfd(Descriptor()).inode(), 0U);
  const auto pipe = system::Pipe::make();
  ASSERT_TRUE(pipe);
  EXPECT_EQ(Pidfd(Descriptor(::dup(pipe->readEnd.get()))).inode(), 0U) << "what is no pidfd has no inode of one";
}

TEST(ProcessFilesTest, TheStartTimeIsToldWhateverTheProcessCallsItself) {
  const std::uint64_t before = ticksSinceBoot();
  const WaitingChild child(") R 1 (2 3) 4");
  const auto start = ProcessFiles(child.pid()).startTime();
  ASSERT_TRUE(start);
  EXPECT_GE(*start + 1, before);
  EXPECT_LE(*start, ticksSinceBoot() + 1);
}

TEST(ProcessFilesTest, ThisProcessHasTheFilesOfItsNumber) {
  EXPECT_EQ(ProcessFiles::ofThisProcess().startTime(), ProcessFiles(::getpid()).startTime());
  EXPECT_EQ(ProcessFiles::ofThisProcess().target("exe")->st_ino, ProcessFiles(::getpid()).target("exe")->st_ino);
}

TEST(ProcessFilesTest, WhatIsNotThereIsMissingWithTheReason) {
  const ProcessFiles nobody(pidOfNobody());
  errno = 0;
  EXPECT_FALSE(nobody.read("status"));
  EXPECT_EQ(errno, ENOENT);
  errno = 0;
  EXPECT_FALSE(nobody.startTime());
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(nobody.target("exe"));
  EXPECT_FALSE(nobody.number("loginuid"));
}

constexpr char status[] =
    "Name:\tx\\nUid:\t9\nUmask:\t0022\nUid:\t1\t22\t333\t4444\nGroups:\t4 24 \nNone:\t\nCapEff:\t000001ffffffffff\n";

TEST(ProcessFilesTest, ANumberOfTheStatusIsFoundByItsKeyAndPlace) {
  EXPECT_EQ(ProcessFiles::statusNumber(status, "Uid"), 1U);
  EXPECT_EQ(ProcessFiles::statusNumber(status, "Uid", 3), 4444U);
  EXPECT_EQ(ProcessFiles::statusNumber(status, "Uid", 4), std::nullopt);
  EXPECT_EQ(ProcessFiles::statusNumber(status, "id"), std::nullopt) << "no key ends like that";
  EXPECT_EQ(ProcessFiles::statusNumber(status, "Gid"), std::nullopt);
  EXPECT_EQ(ProcessFiles::statusNumber(status, "None"), std::nullopt);
}

TEST(ProcessFilesTest, AllNumbersOfALineMayBeNone) {
  EXPECT_EQ(ProcessFiles::statusNumbers(status, "Groups"), (std::vector<std::uint32_t>{4, 24}));
  EXPECT_TRUE(ProcessFiles::statusNumbers(status, "None").empty());
  EXPECT_TRUE(ProcessFiles::statusNumbers(status, "Gid").empty());
}

TEST(ProcessFilesTest, AMaskIsHexadecimal) {
  EXPECT_EQ(ProcessFiles::statusMask(status, "CapEff"), 0x1ffffffffffU);
  EXPECT_EQ(ProcessFiles::statusMask(status, "CapPrm"), std::nullopt);
}

using Answer = std::expected<std::string, int>;

Answer nameOf(const ProcessFiles& files) {
  auto name = files.read("comm");
  return name ? Answer(std::move(*name)) : std::unexpected(errno);
}

TEST(PinnedProcessTest, AnswersWhileItLives) {
  const WaitingChild child("pinned");
  const auto process = PinnedProcess::of(child.pid());
  ASSERT_TRUE(process);
  EXPECT_EQ(process->ask(nameOf), "pinned\n");
}

TEST(PinnedProcessTest, HasNoAnswerOnceItHasEndedThoughItsFilesAreStillThere) {
  const WaitingChild child("pinned");
  const auto process = PinnedProcess::of(child.pid());
  ASSERT_TRUE(process);
  child.kill();
  EXPECT_TRUE(nameOf(ProcessFiles(child.pid())));
  EXPECT_EQ(process->ask(nameOf), Answer(std::unexpected(ESRCH)));
}

TEST(PinnedProcessTest, HasNoAnswerWhenItEndsWhileItIsAsked) {
  const WaitingChild child;
  const auto process = PinnedProcess::of(child.pid());
  ASSERT_TRUE(process);
  const auto answer = process->ask([&child](const ProcessFiles& files) {
    auto name = nameOf(files);
    child.kill();
    return name;
  });
  EXPECT_EQ(answer, Answer(std::unexpected(ESRCH)));
}

TEST(PinnedProcessTest, AQuestionsOwnErrorIsTheAnswer) {
  const WaitingChild child;
  const auto process = PinnedProcess::of(child.pid());
  ASSERT_TRUE(process);
  EXPECT_EQ(process->ask([](const ProcessFiles&) { return Answer(std::unexpected(EPROTO)); }),
            Answer(std::unexpected(EPROTO)));
  child.kill();
  EXPECT_EQ(process->ask([](const ProcessFiles&) { return Answer(std::unexpected(EPROTO)); }),
            Answer(std::unexpected(EPROTO)));
}

TEST(PinnedProcessTest, ThereIsNoneForANumberOfNobody) {
  const auto process = PinnedProcess::of(pidOfNobody());
  ASSERT_FALSE(process);
  EXPECT_EQ(process.error(), ESRCH);
}

TEST(ShortageWatchTest, TellsOfAShortageSinceItBeganAndOfNothingElse) {
  const ShortageWatch watch;
  errno = ENOENT;
  EXPECT_EQ(ShortageWatch::note(), ENOENT);
  EXPECT_FALSE(ShortageWatch::hasSeenOne());
  for (const int shortage : {EMFILE, ENFILE, ENOMEM}) {
    const ShortageWatch inner;
    EXPECT_FALSE(ShortageWatch::hasSeenOne());
    errno = shortage;
    EXPECT_EQ(ShortageWatch::note(), shortage);
    EXPECT_TRUE(ShortageWatch::hasSeenOne());
  }
}

TEST(ShortageWatchTest, WhatAnInnerOneHasSeenTheOuterOneHasSeenToo) {
  const ShortageWatch outer;
  {
    const ShortageWatch inner;
    errno = EMFILE;
    ShortageWatch::note();
  }
  EXPECT_TRUE(ShortageWatch::hasSeenOne());
  {
    const ShortageWatch inner;
    EXPECT_FALSE(ShortageWatch::hasSeenOne());
  }
  EXPECT_TRUE(ShortageWatch::hasSeenOne());
}

}  // namespace
}  // namespace wicket::linux_adapter
