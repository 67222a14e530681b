// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <array>
#include <cstddef>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "adapters/linux/bus/AttributedReceive.h"
#include "adapters/linux/bus/ClientInbox.h"
#include "tests/support/DescriptorAllowance.h"

namespace wicket::linux_adapter {
namespace {

using namespace std::string_literals;
using Boundary = MessageFramer::Boundary;
using Received = ClientInbox::Received;

class ClientInboxTest : public testing::Test {
 protected:
  ClientInboxTest() {
    std::array<int, 2> pair{-1, -1};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()), 0);
    here_.reset(pair[0]);
    there_.reset(pair[1]);
    EXPECT_TRUE(AttributedReceive::enable(here_.get()));
    auto feed = BusFeed::make();
    EXPECT_TRUE(feed);
    inbox_.feed(std::move(feed->entry));
    busEnd_ = std::move(feed->busEnd);
  }
  void write(std::string_view text) const {
    EXPECT_EQ(send(there_.get(), text.data(), text.size(), MSG_NOSIGNAL), static_cast<ssize_t>(text.size()));
  }
  void writeFromAChild(std::string_view text) const {
    const pid_t child = fork();
    if (child == 0) _exit(send(there_.get(), text.data(), text.size(), MSG_NOSIGNAL) > 0 ? 0 : 1);
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  Received receive(bool mayBeAnonymous = false) { return inbox_.receive(here_.get(), mayBeAnonymous); }
  /// What the bus would read now.
  std::string handedOn() const {
    std::array<char, 1024> bytes{};
    const ssize_t count = recv(busEnd_.get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
    return {bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0};
  }

  static inline const std::string handshake = "\0AUTH\r\nBEGIN\r\n"s;
  /// A header without fields, and no body.
  static inline const std::string message = "l\1\0\1\0\0\0\0\1\0\0\0\0\0\0\0"s;

  Descriptor here_;
  Descriptor there_;
  Descriptor busEnd_;
  ClientInbox inbox_{getpid()};
};

TEST_F(ClientInboxTest, WhatComesAtOnceIsHandedOnFromBoundaryToBoundary) {
  write(handshake + message + message.substr(0, 5));
  ASSERT_EQ(receive(), Received::piece);
  EXPECT_EQ(handedOn(), "") << "reading hands nothing on";
  EXPECT_EQ(inbox_.handOn(), Boundary::handshakeEnded);
  EXPECT_EQ(handedOn(), handshake);
  EXPECT_EQ(inbox_.handOn(), Boundary::messageEnded);
  EXPECT_EQ(handedOn(), message);
  EXPECT_FALSE(inbox_.isEmpty());
  EXPECT_EQ(inbox_.handOn(), Boundary::none);
  EXPECT_EQ(handedOn(), message.substr(0, 5));
  EXPECT_TRUE(inbox_.isEmpty());
}

TEST_F(ClientInboxTest, AMessageMayArriveInPieces) {
  write(handshake + message.substr(0, 3));
  ASSERT_EQ(receive(), Received::piece);
  EXPECT_EQ(inbox_.handOn(), Boundary::handshakeEnded);
  EXPECT_EQ(inbox_.handOn(), Boundary::none);
  write(message.substr(3));
  ASSERT_EQ(receive(), Received::piece);
  EXPECT_EQ(inbox_.handOn(), Boundary::messageEnded);
  EXPECT_EQ(handedOn(), handshake + message);
}

TEST_F(ClientInboxTest, WhereNothingHasComeThereIsNothingAndAtTheEndTheEnd) {
  EXPECT_EQ(receive(), Received::nothing);
  write("\0"s);
  there_.reset();
  EXPECT_EQ(receive(), Received::piece);
  EXPECT_EQ(inbox_.handOn(), Boundary::none);
  EXPECT_EQ(receive(), Received::end);
  EXPECT_EQ(receive(), Received::end);
}

TEST_F(ClientInboxTest, WhatAnotherProcessWroteIsAViolationAndIsNotHandedOn) {
  writeFromAChild(handshake);
  EXPECT_EQ(receive(), Received::violation);
  EXPECT_EQ(receive(true), Received::nothing);
  EXPECT_TRUE(inbox_.isEmpty());
}

TEST_F(ClientInboxTest, AnotherProcessIsNotNobodyInParticular) {
  writeFromAChild(handshake);
  EXPECT_EQ(receive(true), Received::violation);
}

TEST_F(ClientInboxTest, WhatComesFromNobodyInParticularCountsOnlyWhereItMay) {
  std::array<int, 2> pair{-1, -1};
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()), 0);
  here_.reset(pair[0]);
  there_.reset(pair[1]);
  // Nobody has asked for the writers' names.
  write(handshake + message);
  ASSERT_EQ(receive(true), Received::piece);
  EXPECT_TRUE(inbox_.hasAnonymousRest());
  EXPECT_EQ(inbox_.handOn(), Boundary::handshakeEnded);
  EXPECT_TRUE(inbox_.hasAnonymousRest());
  EXPECT_EQ(inbox_.handOn(), Boundary::messageEnded);
  EXPECT_FALSE(inbox_.hasAnonymousRest()) << "there is no rest";
  write(message);
  EXPECT_EQ(receive(false), Received::violation);
}

TEST_F(ClientInboxTest, ARestOfTheClientItselfIsNotAnonymous) {
  write(handshake + message);
  ASSERT_EQ(receive(true), Received::piece);
  EXPECT_EQ(inbox_.handOn(), Boundary::handshakeEnded);
  EXPECT_FALSE(inbox_.isEmpty());
  EXPECT_FALSE(inbox_.hasAnonymousRest());
}

TEST_F(ClientInboxTest, WhatIsNoHandshakeIsAViolationAndIsNotHandedOn) {
  write("GET / HTTP/1.1\r\n");
  ASSERT_EQ(receive(), Received::piece);
  EXPECT_EQ(inbox_.handOn(), Boundary::violation);
  EXPECT_EQ(handedOn(), "");
}

TEST_F(ClientInboxTest, AFeedThatTakesNothingIsAViolation) {
  busEnd_.reset();
  write(handshake);
  ASSERT_EQ(receive(), Received::piece);
  EXPECT_EQ(inbox_.handOn(), Boundary::violation);
}

TEST(BusFeedTest, ThereIsNoneWithoutDescriptorsForBothEnds) {
  {
    const support::DescriptorAllowance oneMore(1);
    EXPECT_FALSE(BusFeed::make());
    EXPECT_EQ(errno, EMFILE);
  }
  EXPECT_TRUE(BusFeed::make());
}

}  // namespace
}  // namespace wicket::linux_adapter
