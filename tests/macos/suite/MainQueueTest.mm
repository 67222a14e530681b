// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <thread>

#include "adapters/macos/MainRunLoop.h"
#include "tests/macos/frameworks/VirtualTime.h"
#include "tests/macos/suite/FrameworkTest.h"

namespace wicket::suite {
namespace {

using namespace std::chrono_literals;
using frameworks::VirtualTime;
using testing::ElementsAre;
using testing::IsEmpty;

class MainQueueTest : public FrameworkTest {
 protected:
  std::function<void()> note(std::string what) {
    return [this, what] { noted_.push_back(what + " at " + std::to_string(VirtualTime::elapsed() / 1s)); };
  }

  macos_adapter::MainRunLoop queue_;
  std::vector<std::string> noted_;
};

TEST_F(MainQueueTest, APassTakesItsFullTimeAndFiresWhatIsDueInOrder) {
  const auto second = queue_.schedule(2s, note("second"));
  const auto first = queue_.schedule(1s, note("first"));
  const auto later = queue_.schedule(11s, note("later"));
  queue_.run(10s);
  EXPECT_THAT(noted_, ElementsAre("first at 1", "second at 2"));
  EXPECT_EQ(VirtualTime::elapsed(), 10s);
  queue_.run(10s);
  EXPECT_THAT(noted_, ElementsAre("first at 1", "second at 2", "later at 11"));
}

TEST_F(MainQueueTest, ATimerFiresOnceAndLetsGoOfItsHandler) {
  const auto held = std::make_shared<int>(0);
  const auto timer = queue_.schedule(1s, [held] { ++*held; });
  queue_.run(100s);
  EXPECT_EQ(*held, 1);
  EXPECT_EQ(held.use_count(), 1);
}

TEST_F(MainQueueTest, ATimerThatNobodyHoldsFiresAllTheSame) {
  (void)queue_.schedule(1s, note("fired"));
  queue_.run(2s);
  EXPECT_THAT(noted_, ElementsAre("fired at 1"));
}

TEST_F(MainQueueTest, ACancelledTimerNeverFiresAndLetsGoOfItsHandlerAtOnce) {
  const auto held = std::make_shared<int>(0);
  const auto timer = queue_.schedule(1s, [held] { ++*held; });
  timer->cancel();
  EXPECT_EQ(held.use_count(), 1);
  queue_.run(2s);
  EXPECT_EQ(*held, 0);
  EXPECT_THAT(recorded("timer cancelled"), ElementsAre("timer cancelled"));
  timer->cancel();
}

TEST_F(MainQueueTest, CancellingAfterTheFiringHasNoEffect) {
  const auto timer = queue_.schedule(1s, note("fired"));
  queue_.run(2s);
  timer->cancel();
  EXPECT_THAT(recorded("timer cancelled"), IsEmpty());
}

TEST_F(MainQueueTest, ATimerMayBeArmedAndCancelledInAHandler) {
  std::shared_ptr<Timer> other = queue_.schedule(2s, note("cancelled"));
  const auto timer = queue_.schedule(1s, [&] {
    other->cancel();
    other = queue_.schedule(3s, note("armed"));
  });
  queue_.run(10s);
  EXPECT_THAT(noted_, ElementsAre("armed at 4"));
}

TEST_F(MainQueueTest, WhatIsStillArmedWhenTheQueueEndsLetsGoOfItsHandler) {
  const auto held = std::make_shared<int>(0);
  std::shared_ptr<Timer> timer;
  {
    macos_adapter::MainRunLoop queue;
    timer = queue.schedule(1s, [held] { ++*held; });
  }
  EXPECT_EQ(held.use_count(), 1);
  queue_.run(2s);
  EXPECT_EQ(*held, 0);
}

TEST_F(MainQueueTest, TimersMayBeArmedAndCancelledFromAnyThreadWhileThePassRuns) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([this] {
      for (int round = 0; round < 100; ++round) {
        const auto cancelled = queue_.schedule(std::chrono::nanoseconds(round), [] {});
        const auto fired = queue_.schedule(std::chrono::nanoseconds(round), [] {});
        cancelled->cancel();
      }
    });
  }
  for (int pass = 0; pass < 200; ++pass) queue_.run(10ns);
  for (auto& thread : threads) thread.join();
  queue_.run(1s);
  EXPECT_GE(recorded("timer fires").size(), 400U);
}

}  // namespace
}  // namespace wicket::suite
