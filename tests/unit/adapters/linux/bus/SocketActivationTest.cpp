// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "adapters/linux/bus/SocketActivation.h"

namespace wicket::linux_adapter {
namespace {

/// The first descriptor that a service manager hands over.
constexpr int firstHandedOver = 3;

/// A socket at an address without a file, of this process.
int makeSocket(int type, bool listens) {
  const int socket = ::socket(AF_UNIX, type, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string name = "wicket-activation-" + std::to_string(getpid());
  std::ranges::copy(name, static_cast<char*>(address.sun_path) + 1);
  const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
  if (bind(socket, reinterpret_cast<const sockaddr*>(&address), length) != 0) _exit(250);
  if (listens && listen(socket, 1) != 0) _exit(251);
  return socket;
}

/// Makes this process one that was started with that descriptor, and with as many more.
void handOver(int descriptor, int count = 1) {
  for (int i = 0; i < count; ++i) {
    if (dup2(descriptor, firstHandedOver + i) < 0) _exit(252);
  }
  setenv("LISTEN_PID", std::to_string(getpid()).c_str(), 1);
  setenv("LISTEN_FDS", std::to_string(count).c_str(), 1);
}

/// A process of its own ends with this: 0 when it is what the test says.
[[noreturn]] void endWith(bool isRight) { _exit(isRight ? 0 : 1); }

bool fails(SocketActivationError error) {
  const auto socket = takeActivationSocket();
  return !socket && socket.error() == error;
}

TEST(SocketActivationDeathTest, TheListeningSocketIsTakenNonBlockingAndIsNotInherited) {
  EXPECT_EXIT(
      {
        handOver(makeSocket(SOCK_STREAM, true));
        const auto socket = takeActivationSocket();
        endWith(socket && socket->get() == firstHandedOver && (fcntl(socket->get(), F_GETFL) & O_NONBLOCK) != 0 &&
                (fcntl(socket->get(), F_GETFD) & FD_CLOEXEC) != 0);
      },
      testing::ExitedWithCode(0), "");
}

TEST(SocketActivationDeathTest, TheRecordOfItDoesNotReachChildren) {
  EXPECT_EXIT(
      {
        handOver(makeSocket(SOCK_STREAM, true));
        const auto socket = takeActivationSocket();
        endWith(socket && getenv("LISTEN_FDS") == nullptr && getenv("LISTEN_PID") == nullptr);
      },
      testing::ExitedWithCode(0), "");
}

TEST(SocketActivationDeathTest, TwoSocketsAreNotTheOne) {
  EXPECT_EXIT(
      {
        handOver(makeSocket(SOCK_STREAM, true), 2);
        endWith(fails(SocketActivationError::notHandedOver));
      },
      testing::ExitedWithCode(0), "");
}

TEST(SocketActivationDeathTest, WhatIsForAnotherProcessIsNotTaken) {
  EXPECT_EXIT(
      {
        handOver(makeSocket(SOCK_STREAM, true));
        setenv("LISTEN_PID", "1", 1);
        endWith(fails(SocketActivationError::notHandedOver) && fcntl(firstHandedOver, F_GETFD) >= 0);
      },
      testing::ExitedWithCode(0), "");
}

TEST(SocketActivationDeathTest, AProcessThatWasStartedByHandHasNone) {
  EXPECT_EXIT(
      {
        unsetenv("LISTEN_PID");
        unsetenv("LISTEN_FDS");
        endWith(fails(SocketActivationError::notHandedOver));
      },
      testing::ExitedWithCode(0), "");
}

TEST(SocketActivationDeathTest, ASocketThatDoesNotListenIsNone) {
  EXPECT_EXIT(
      {
        handOver(makeSocket(SOCK_STREAM, false));
        endWith(fails(SocketActivationError::notAListeningUnixStreamSocket));
      },
      testing::ExitedWithCode(0), "");
}

TEST(SocketActivationDeathTest, ASocketOfAnotherTypeIsNone) {
  EXPECT_EXIT(
      {
        handOver(makeSocket(SOCK_SEQPACKET, true));
        endWith(fails(SocketActivationError::notAListeningUnixStreamSocket));
      },
      testing::ExitedWithCode(0), "");
}

TEST(SocketActivationDeathTest, ASocketOfAnotherFamilyIsNone) {
  EXPECT_EXIT(
      {
        const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
        if (listen(socket, 1) != 0) _exit(253);
        handOver(socket);
        endWith(fails(SocketActivationError::notAListeningUnixStreamSocket));
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace wicket::linux_adapter
