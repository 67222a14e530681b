// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "adapters/linux/bus/AttributedReceive.h"
#include "base/system/Descriptor.h"
#include "tests/support/ProcessInspection.h"

namespace wicket::linux_adapter {
namespace {

using support::ProcessInspection;

class AttributedReceiveTest : public testing::Test {
 protected:
  AttributedReceiveTest() {
    std::array<int, 2> pair{-1, -1};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()), 0);
    here_.reset(pair[0]);
    there_.reset(pair[1]);
  }
  void write(std::string_view text) const {
    EXPECT_EQ(send(there_.get(), text.data(), text.size(), MSG_NOSIGNAL), static_cast<ssize_t>(text.size()));
  }
  /// A process of its own writes it. Its number.
  pid_t writeFromAChild(std::string_view text) const {
    const pid_t child = fork();
    if (child == 0) _exit(send(there_.get(), text.data(), text.size(), MSG_NOSIGNAL) > 0 ? 0 : 1);
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    return child;
  }
  void writeWithDescriptor(int descriptor) const {
    alignas(cmsghdr) std::array<std::byte, CMSG_SPACE(sizeof descriptor)> control{};
    char byte = 'd';
    iovec data{&byte, 1};
    msghdr message{};
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    cmsghdr* const header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof descriptor);
    std::memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
    EXPECT_EQ(sendmsg(there_.get(), &message, MSG_NOSIGNAL), 1);
  }
  AttributedReceive receive(std::size_t atMost = 1024) {
    return AttributedReceive::from(here_.get(), std::span(buffer_).first(atMost));
  }
  std::string received(const AttributedReceive& piece) const {
    return {reinterpret_cast<const char*>(buffer_.data()), static_cast<std::size_t>(piece.count)};
  }

  Descriptor here_;
  Descriptor there_;
  std::array<std::byte, 1024> buffer_{};
};

TEST_F(AttributedReceiveTest, APieceComesWithTheProcessThatWroteIt) {
  ASSERT_TRUE(AttributedReceive::enable(here_.get()));
  write("hello");
  const auto piece = receive();
  ASSERT_EQ(piece.count, 5);
  EXPECT_EQ(received(piece), "hello");
  EXPECT_EQ(piece.sender, getpid());
  EXPECT_FALSE(piece.hasMore);
}

TEST_F(AttributedReceiveTest, WhatTwoProcessesWroteComesInTwoPieces) {
  ASSERT_TRUE(AttributedReceive::enable(here_.get()));
  write("mine");
  const pid_t child = writeFromAChild("its");
  const auto first = receive();
  ASSERT_EQ(first.count, 4);
  EXPECT_EQ(first.sender, getpid());
  const auto second = receive();
  ASSERT_EQ(second.count, 3);
  EXPECT_EQ(received(second), "its");
  EXPECT_EQ(second.sender, child);
}

TEST_F(AttributedReceiveTest, TheRestOfAPieceHasTheSameWriter) {
  ASSERT_TRUE(AttributedReceive::enable(here_.get()));
  const pid_t child = writeFromAChild("abcdef");
  EXPECT_EQ(receive(4).sender, child);
  const auto rest = receive(4);
  ASSERT_EQ(rest.count, 2);
  EXPECT_EQ(received(rest), "ef");
  EXPECT_EQ(rest.sender, child);
}

TEST_F(AttributedReceiveTest, WhatWasWrittenBeforeTheSocketAskedHasNoWriter) {
  write("early");
  ASSERT_TRUE(AttributedReceive::enable(here_.get()));
  const auto piece = receive();
  ASSERT_EQ(piece.count, 5);
  EXPECT_FALSE(piece.sender);
}

TEST_F(AttributedReceiveTest, ADescriptorThatIsSentAlongIsToldAndDoesNotEnter) {
  ASSERT_TRUE(AttributedReceive::enable(here_.get()));
  writeWithDescriptor(here_.get());
  const std::size_t descriptors = ProcessInspection::descriptorCount(getpid());
  const auto piece = receive();
  EXPECT_EQ(piece.count, 1);
  EXPECT_TRUE(piece.hasMore);
  EXPECT_EQ(ProcessInspection::descriptorCount(getpid()), descriptors);
}

TEST_F(AttributedReceiveTest, WhereThereIsNothingItDoesNotWait) {
  const auto piece = receive();
  EXPECT_EQ(piece.count, -1);
  EXPECT_EQ(errno, EAGAIN);
  EXPECT_FALSE(piece.sender);
  EXPECT_FALSE(piece.hasMore);
}

TEST_F(AttributedReceiveTest, TheEndComesAfterWhatWasWrittenBefore) {
  ASSERT_TRUE(AttributedReceive::enable(here_.get()));
  write("last");
  there_.reset();
  EXPECT_EQ(receive().count, 4);
  EXPECT_EQ(receive().count, 0);
}

TEST_F(AttributedReceiveTest, WhatIsNoSocketCannotBeAsked) {
  const Descriptor file(open("/dev/null", O_RDONLY | O_CLOEXEC));
  EXPECT_FALSE(AttributedReceive::enable(file.get()));
  EXPECT_EQ(AttributedReceive::from(file.get(), buffer_).count, -1);
}

}  // namespace
}  // namespace wicket::linux_adapter
