// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/system/AllSignalsBlocked.h"
#include "base/system/Pipe.h"
#include "base/system/RegularFile.h"
#include "tests/support/DescriptorAllowance.h"
#include "tests/support/TemporaryFolder.h"

namespace wicket::system {
namespace {

bool isClosedInChildren(const Descriptor& descriptor) { return ::fcntl(descriptor.get(), F_GETFD) == FD_CLOEXEC; }

TEST(PipeTest, NeitherEndIsLeftToChildren) {
  const auto pipe = Pipe::make();
  ASSERT_TRUE(pipe);
  EXPECT_TRUE(isClosedInChildren(pipe->readEnd));
  EXPECT_TRUE(isClosedInChildren(pipe->writeEnd));
}

TEST(PipeTest, NeitherEndIsAStandardStreamEvenWhereThoseAreClosed) {
  const pid_t process = ::fork();
  if (process == 0) {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) ::close(stream);
    const auto pipe = Pipe::make();
    const bool isAbove = pipe && pipe->readEnd.get() > STDERR_FILENO && pipe->writeEnd.get() > STDERR_FILENO;
    const bool isRight = isAbove && isClosedInChildren(pipe->readEnd) && isClosedInChildren(pipe->writeEnd);
    // Nothing is left where the ends were before.
    const bool areFree = ::fcntl(STDIN_FILENO, F_GETFD) < 0 && ::fcntl(STDOUT_FILENO, F_GETFD) < 0;
    ::_exit(isRight && areFree && ::write(pipe->writeEnd.get(), "x", 1) == 1 ? 0 : 1);
  }
  int status = -1;
  ASSERT_EQ(::waitpid(process, &status, 0), process);
  EXPECT_EQ(status, 0);
}

TEST(PipeTest, ThereIsNoneWithoutDescriptorsForBothEnds) {
  const support::DescriptorAllowance one(1);
  const auto pipe = Pipe::make();
  ASSERT_FALSE(pipe);
  EXPECT_EQ(pipe.error(), EMFILE);
}

sigset_t blockedSignals() {
  sigset_t blocked;
  ::pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
  return blocked;
}

TEST(AllSignalsBlockedTest, EverySignalIsBlockedAndThenAgainOnlyWhatWasBefore) {
  sigset_t before;
  sigset_t one;
  ::sigemptyset(&one);
  ::sigaddset(&one, SIGUSR2);
  ::pthread_sigmask(SIG_SETMASK, &one, &before);
  {
    const AllSignalsBlocked outer;
    {
      const AllSignalsBlocked inner;
      const sigset_t blocked = blockedSignals();
      for (const int signal : {SIGHUP, SIGINT, SIGTERM, SIGCHLD, SIGUSR1, SIGUSR2, SIGALRM}) {
        EXPECT_EQ(::sigismember(&blocked, signal), 1) << signal;
      }
    }
    const sigset_t blocked = blockedSignals();
    EXPECT_EQ(::sigismember(&blocked, SIGTERM), 1);
  }
  const sigset_t blocked = blockedSignals();
  EXPECT_EQ(::sigismember(&blocked, SIGUSR2), 1);
  for (const int signal : {SIGHUP, SIGINT, SIGTERM, SIGCHLD, SIGUSR1, SIGALRM}) {
    EXPECT_EQ(::sigismember(&blocked, signal), 0) << signal;
  }
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

class RegularFileTest : public testing::Test {
 protected:
  static int errorOf(const std::string& path) {
    const auto file = RegularFile::open(path);
    return file ? 0 : file.error();
  }
  void SetUp() override { std::ofstream(folder_.path("file")) << "content"; }

  support::TemporaryFolder folder_;
};

TEST_F(RegularFileTest, IsOpenedForReadingAndKnown) {
  const auto file = RegularFile::open(folder_.path("file"));
  ASSERT_TRUE(file);
  EXPECT_EQ(file->status.st_size, 7);
  EXPECT_TRUE(isClosedInChildren(file->descriptor));
  EXPECT_EQ(::fcntl(file->descriptor.get(), F_GETFL) & O_ACCMODE, O_RDONLY);
}

TEST_F(RegularFileTest, IsFoundThroughALink) {
  ASSERT_EQ(::symlink("file", folder_.path("link").c_str()), 0);
  EXPECT_EQ(errorOf(folder_.path("link")), 0);
}

TEST_F(RegularFileTest, IsNotWhatIsAnythingElse) {
  ASSERT_EQ(::mkfifo(folder_.path("pipe").c_str(), 0600), 0);
  ASSERT_EQ(::symlink("pipe", folder_.path("link").c_str()), 0);
  EXPECT_EQ(errorOf(folder_.path()), EISDIR);
  EXPECT_EQ(errorOf(folder_.path("pipe")), EINVAL);
  EXPECT_EQ(errorOf(folder_.path("link")), EINVAL);
  EXPECT_EQ(errorOf("/dev/zero"), EINVAL);
}

TEST_F(RegularFileTest, IsNotWhatIsNotThere) {
  ASSERT_EQ(::symlink("missing", folder_.path("dangling").c_str()), 0);
  ASSERT_EQ(::symlink("loop", folder_.path("loop").c_str()), 0);
  EXPECT_EQ(errorOf(folder_.path("missing")), ENOENT);
  EXPECT_EQ(errorOf(folder_.path("dangling")), ENOENT);
  EXPECT_EQ(errorOf(folder_.path("loop")), ELOOP);
  EXPECT_EQ(errorOf(folder_.path("file/below")), ENOTDIR);
  EXPECT_EQ(errorOf(""), ENOENT);
}

TEST_F(RegularFileTest, IsNotWhatAPathNamesOnlyUpToANul) {
  const std::string path = folder_.path("file") + std::string(1, '\0') + "more";
  EXPECT_FALSE(isRepresentable(path));
  EXPECT_EQ(errorOf(path), EINVAL);
  EXPECT_TRUE(isRepresentable(folder_.path("file")));
}

}  // namespace
}  // namespace wicket::system
