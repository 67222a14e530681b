// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <csignal>
#include <gtest/gtest.h>
#include <poll.h>

#include "companion/command/Interruption.h"

namespace wicket::companion::command {
namespace {

bool canBeRead(int descriptor) {
  pollfd watched{descriptor, POLLIN, 0};
  return ::poll(&watched, 1, 0) == 1;
}

auto dispositionOf(int signal) {
  struct sigaction now{};
  ::sigaction(signal, nullptr, &now);
  return now.sa_handler;
}

TEST(InterruptionTest, TheFirstSignalMakesTheDescriptorReadableAndIsKept) {
  const Interruption interruption;
  EXPECT_FALSE(canBeRead(interruption.descriptor()));
  EXPECT_EQ(Interruption::caughtSignal(), 0);
  ASSERT_EQ(::raise(SIGTERM), 0);
  ASSERT_EQ(::raise(SIGINT), 0);
  EXPECT_TRUE(canBeRead(interruption.descriptor()));
  EXPECT_EQ(Interruption::caughtSignal(), SIGTERM);
}

TEST(InterruptionTest, EachOfTheThreeSignalsIsCaught) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    const Interruption interruption;
    ASSERT_EQ(::raise(signal), 0);
    EXPECT_EQ(Interruption::caughtSignal(), signal);
  }
}

TEST(InterruptionTest, AfterItsEndSignalsDoWhatTheyDidAndNoneIsRemembered) {
  {
    const Interruption interruption;
    ASSERT_EQ(::raise(SIGINT), 0);
  }
  EXPECT_EQ(Interruption::caughtSignal(), 0);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) EXPECT_EQ(dispositionOf(signal), SIG_DFL) << signal;
}

TEST(InterruptionTest, ASignalThatWasIgnoredStaysIgnored) {
  std::signal(SIGHUP, SIG_IGN);
  {
    const Interruption interruption;
    ASSERT_EQ(::raise(SIGHUP), 0);
    EXPECT_EQ(Interruption::caughtSignal(), 0);
    EXPECT_FALSE(canBeRead(interruption.descriptor()));
  }
  EXPECT_EQ(dispositionOf(SIGHUP), SIG_IGN);
  std::signal(SIGHUP, SIG_DFL);
}

}  // namespace
}  // namespace wicket::companion::command
