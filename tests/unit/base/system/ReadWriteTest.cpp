// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <expected>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <span>
#include <string>
#include <sys/time.h>
#include <thread>
#include <tuple>
#include <unistd.h>
#include <vector>

#include "base/system/Descriptor.h"
#include "base/system/Pipe.h"
#include "base/system/ReadWrite.h"
#include "base/system/Uninterrupted.h"
#include "tests/support/TemporaryFolder.h"

namespace wicket::system {
namespace {

TEST(UninterruptedTest, ACallThatSignalsInterruptIsMadeAgainUntilItSucceeds) {
  int calls = 0;
  const int result = uninterrupted([&calls] {
    errno = EINTR;
    return ++calls < 3 ? -1 : 7;
  });
  EXPECT_EQ(result, 7);
  EXPECT_EQ(calls, 3);
}

TEST(UninterruptedTest, AnyOtherErrorEndsItAndStaysInErrno) {
  int calls = 0;
  const int result = uninterrupted([&calls] {
    errno = ++calls < 2 ? EINTR : EAGAIN;
    return -1;
  });
  EXPECT_EQ(result, -1);
  EXPECT_EQ(errno, EAGAIN);
  EXPECT_EQ(calls, 2);
}

TEST(UninterruptedTest, ASuccessCountsWhateverErrnoSays) {
  int calls = 0;
  errno = EINTR;
  EXPECT_EQ(uninterrupted([&calls] { return calls++; }), 0);
  EXPECT_EQ(calls, 1);
}

class ReadWriteTest : public testing::Test {
 protected:
  [[nodiscard]] Descriptor fileOf(const std::string& content, int flags = O_RDONLY) const {
    std::ofstream(folder_.path("file"), std::ios::binary) << content;
    return Descriptor(::open(folder_.path("file").c_str(), flags | O_CLOEXEC));
  }
  static std::string textOf(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
  }

  support::TemporaryFolder folder_;
  std::array<std::byte, 4> buffer_{};
};

/// Every millisecond a signal whose handler lets the interrupted call fail; at the third one there is a byte to read.
class Interruptions {
 public:
  explicit Interruptions(int writeEnd) {
    end = writeEnd;
    count = 0;
    struct sigaction action{};
    action.sa_handler = [](int) {
      const int error = errno;
      count = count + 1;
      if (count == 3) std::ignore = ::write(end, "x", 1);
      errno = error;
    };
    ::sigaction(SIGALRM, &action, &before_);
    const itimerval often{{0, 1000}, {0, 1000}};
    ::setitimer(ITIMER_REAL, &often, nullptr);
  }
  Interruptions(const Interruptions&) = delete;
  Interruptions& operator=(const Interruptions&) = delete;
  ~Interruptions() {
    const itimerval never{};
    ::setitimer(ITIMER_REAL, &never, nullptr);
    ::sigaction(SIGALRM, &before_, nullptr);
  }
  static inline volatile sig_atomic_t count = 0;

 private:
  static inline volatile sig_atomic_t end = -1;
  struct sigaction before_{};
};

TEST_F(ReadWriteTest, ASignalDoesNotEndAReadThatWaits) {
  const auto pipe = Pipe::make();
  ASSERT_TRUE(pipe);
  const Interruptions interruptions(pipe->writeEnd.get());
  EXPECT_EQ(readSome(pipe->readEnd.get(), buffer_), 1U);
  EXPECT_GE(Interruptions::count, 3);
}

TEST_F(ReadWriteTest, AReadTakesWhatIsThereAndNoMoreThanFits) {
  auto pipe = Pipe::make();
  ASSERT_TRUE(pipe);
  ASSERT_TRUE(writeAll(pipe->writeEnd.get(), std::as_bytes(std::span("abcdef", 6))));
  EXPECT_EQ(readSome(pipe->readEnd.get(), buffer_), 4U);
  EXPECT_EQ(textOf(buffer_), "abcd");
  EXPECT_EQ(readSome(pipe->readEnd.get(), buffer_), 2U);
  pipe->writeEnd.reset();
  EXPECT_EQ(readSome(pipe->readEnd.get(), buffer_), 0U);
}

TEST_F(ReadWriteTest, AReadThatWouldWaitSaysSo) {
  const auto pipe = Pipe::make();
  ASSERT_TRUE(pipe);
  ASSERT_EQ(::fcntl(pipe->readEnd.get(), F_SETFL, O_NONBLOCK), 0);
  EXPECT_EQ(readSome(pipe->readEnd.get(), buffer_), std::unexpected(EAGAIN));
}

TEST_F(ReadWriteTest, ReadingSomewhereLeavesTheFilesOwnPosition) {
  const Descriptor file = fileOf("0123456789");
  EXPECT_EQ(readSomeAt(file.get(), 7, buffer_), 3U);
  EXPECT_EQ(textOf(std::span(buffer_).first(3)), "789");
  EXPECT_EQ(readSomeAt(file.get(), 10, buffer_), 0U);
  EXPECT_TRUE(readExactly(file.get(), 2, buffer_));
  EXPECT_EQ(textOf(buffer_), "2345");
  EXPECT_EQ(readAll(file.get()), "0123456789");
}

TEST_F(ReadWriteTest, AFileThatEndsBeforeTheBufferIsFullIsNotReadExactly) {
  const Descriptor file = fileOf("0123456789");
  EXPECT_TRUE(readExactly(file.get(), 6, buffer_));
  EXPECT_FALSE(readExactly(file.get(), 7, buffer_));
  EXPECT_FALSE(readExactly(file.get(), 11, buffer_));
  EXPECT_TRUE(readExactly(file.get(), 11, {}));
  EXPECT_FALSE(readExactly(-1, 0, buffer_));
}

TEST_F(ReadWriteTest, EverythingIsReadWhateverItsLength) {
  for (const std::size_t length : {0U, 1U, 4095U, 4096U, 4097U, 100'000U}) {
    const std::string content(length, 'x');
    EXPECT_EQ(readAll(fileOf(content).get()), content) << length;
  }
}

TEST_F(ReadWriteTest, WhatCannotBeReadIsAnError) {
  const Descriptor folder(::open(folder_.path().c_str(), O_RDONLY | O_CLOEXEC));
  EXPECT_EQ(readAll(folder.get()), std::unexpected(EISDIR));
  EXPECT_EQ(readSome(folder.get(), buffer_), std::unexpected(EISDIR));
  EXPECT_EQ(readSomeAt(-1, 0, buffer_), std::unexpected(EBADF));
}

TEST_F(ReadWriteTest, MoreThanAPipeHoldsIsWrittenWhole) {
  auto pipe = Pipe::make();
  ASSERT_TRUE(pipe);
  std::string content;
  for (int i = 0; content.size() < 1'000'000; ++i) content += std::to_string(i);
  std::thread writer([&] {
    EXPECT_TRUE(writeAll(pipe->writeEnd.get(), std::as_bytes(std::span(content))));
    pipe->writeEnd.reset();
  });
  EXPECT_EQ(readAll(pipe->readEnd.get()), content);
  writer.join();
}

TEST_F(ReadWriteTest, WhatIsWrittenOnlyInPartIsAnError) {
  const auto pipe = Pipe::make();
  ASSERT_TRUE(pipe);
  ASSERT_EQ(::fcntl(pipe->writeEnd.get(), F_SETFL, O_NONBLOCK), 0);
  const std::vector<std::byte> moreThanItHolds(1'000'000);
  EXPECT_EQ(writeAll(pipe->writeEnd.get(), moreThanItHolds), (std::expected<void, int>(std::unexpected(EAGAIN))));
  EXPECT_EQ(readSome(pipe->readEnd.get(), buffer_), buffer_.size());
}

TEST_F(ReadWriteTest, WhatCannotBeWrittenIsAnErrorAndNothingNeverIs) {
  const Descriptor file = fileOf("");
  EXPECT_EQ(writeAll(file.get(), std::as_bytes(std::span("x", 1))), (std::expected<void, int>(std::unexpected(EBADF))));
  EXPECT_TRUE(writeAll(file.get(), {}));
}

}  // namespace
}  // namespace wicket::system
