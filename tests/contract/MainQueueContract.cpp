// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "adapters/linux/MainRunLoop.h"
#include "tests/doubles/VirtualMainQueue.h"
#include "tests/support/Patience.h"
#include "tests/support/Stopwatch.h"

namespace wicket::contract {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class RealTime {
 public:
  MainQueue& queue() { return queue_; }
  [[nodiscard]] static std::chrono::nanoseconds now() { return std::chrono::steady_clock::now().time_since_epoch(); }
  /// What a handler does that takes this long.
  static void work(std::chrono::nanoseconds time) { std::this_thread::sleep_for(time); }

 private:
  linux_adapter::MainRunLoop queue_;
};

class VirtualTime {
 public:
  MainQueue& queue() { return queue_; }
  [[nodiscard]] std::chrono::nanoseconds now() const { return queue_.now(); }
  void work(std::chrono::nanoseconds time) { queue_.advance(time); }

 private:
  doubles::VirtualMainQueue queue_;
};

struct TimeNames {
  template <typename World>
  static std::string GetName(int /*index*/) {
    return std::is_same_v<World, RealTime> ? "Real" : "Double";
  }
};

template <typename World>
class MainQueueContract : public testing::Test {
 protected:
  std::shared_ptr<Timer> arm(std::chrono::nanoseconds delay, const std::string& name) {
    return world_.queue().schedule(delay, [this, name] { fired_.push_back(name); });
  }

  World world_;
  std::vector<std::string> fired_;
};

using QueueWorldTypes = testing::Types<RealTime, VirtualTime>;
TYPED_TEST_SUITE(MainQueueContract, QueueWorldTypes, TimeNames);

TYPED_TEST(MainQueueContract, APassLastsItsFullTimeWhateverRuns) {
  (void)this->arm(10ms, "a");
  const auto before = this->world_.now();
  this->world_.queue().run(60ms);
  EXPECT_GE(this->world_.now() - before, 60ms);
  EXPECT_THAT(this->fired_, ElementsAre("a"));
}

TYPED_TEST(MainQueueContract, TimersFireInTheOrderOfTheirDeadlines) {
  // A deadline lies between these two.
  struct Deadline {
    std::chrono::nanoseconds earliest;
    std::chrono::nanoseconds latest;
  };
  std::vector<Deadline> fired;
  for (const auto delay : {30ms, 10ms, 20ms}) {
    const auto deadline = std::make_shared<Deadline>();
    deadline->earliest = this->world_.now() + delay;
    (void)this->world_.queue().schedule(delay, [&fired, deadline] { fired.push_back(*deadline); });
    deadline->latest = this->world_.now() + delay;
  }
  this->world_.queue().run(50ms);
  ASSERT_EQ(fired.size(), 3U);
  EXPECT_LE(fired[0].earliest, fired[1].latest);
  EXPECT_LE(fired[1].earliest, fired[2].latest);
}

TYPED_TEST(MainQueueContract, ATimerNeverFiresEarly) {
  const auto before = this->world_.now();
  std::chrono::nanoseconds fired{};
  (void)this->world_.queue().schedule(25ms, [&] { fired = this->world_.now(); });
  this->world_.queue().run(60ms);
  EXPECT_GE(fired - before, 25ms);
}

TYPED_TEST(MainQueueContract, ATimerBeyondThePassFiresInALaterOneOnce) {
  const auto due = this->world_.now() + 40ms;
  (void)this->arm(40ms, "late");
  this->world_.queue().run(10ms);
  EXPECT_TRUE(this->fired_.empty() || this->world_.now() >= due) << "it was not beyond the pass";
  this->world_.queue().run(60ms);
  EXPECT_THAT(this->fired_, ElementsAre("late"));
  this->world_.queue().run(60ms);
  EXPECT_THAT(this->fired_, ElementsAre("late"));
}

TYPED_TEST(MainQueueContract, ACancelledTimerDoesNotFireAndTheOthersDo) {
  const auto cancelled = this->arm(10ms, "cancelled");
  (void)this->arm(10ms, "other");
  cancelled->cancel();
  cancelled->cancel();
  this->world_.queue().run(30ms);
  EXPECT_THAT(this->fired_, ElementsAre("other"));
}

TYPED_TEST(MainQueueContract, ATimerThatIsDueInThePassIsFiredInItHoweverLateThePassWakes) {
  (void)this->world_.queue().schedule(5ms, [this] { this->world_.work(30ms); });
  (void)this->arm(10ms, "due in the pass");
  (void)this->arm(1h, "due after it");
  this->world_.queue().run(20ms);
  EXPECT_THAT(this->fired_, ElementsAre("due in the pass"));
}

TYPED_TEST(MainQueueContract, CancellingAFiredTimerHasNoEffect) {
  const auto timer = this->arm(5ms, "a");
  this->world_.queue().run(20ms);
  timer->cancel();
  EXPECT_THAT(this->fired_, ElementsAre("a"));
}

TYPED_TEST(MainQueueContract, AHandlerMayCancelTheTimerThatIsNext) {
  std::shared_ptr<Timer> next;
  (void)this->world_.queue().schedule(5ms, [&] { next->cancel(); });
  next = this->arm(10ms, "next");
  this->world_.queue().run(30ms);
  EXPECT_THAT(this->fired_, IsEmpty());
}

TYPED_TEST(MainQueueContract, ATimerThatAHandlerArmsFiresInTheSamePassIfItIsDueInIt) {
  std::chrono::nanoseconds lastDue{};
  int left = 100;  // many more than fit into the pass
  std::function<void()> armNext = [&] {
    if (left-- == 0) return;
    (void)this->world_.queue().schedule(5ms, armNext);
    lastDue = this->world_.now() + 5ms;
  };
  const auto endOfPass = this->world_.now() + 40ms;
  armNext();
  this->world_.queue().run(40ms);
  EXPECT_GT(lastDue, endOfPass) << "it was due in the pass and has not fired";
}

TYPED_TEST(MainQueueContract, TheEndOfTheQueueLetsGoOfWhatItsTimersHold) {
  const auto held = std::make_shared<int>(1);
  std::shared_ptr<Timer> timer;
  {
    TypeParam ending;
    timer = ending.queue().schedule(1h, [held] {});
    EXPECT_EQ(held.use_count(), 2);
  }
  EXPECT_EQ(held.use_count(), 1);
}

TYPED_TEST(MainQueueContract, ACancelledTimerLetsGoOfWhatItsHandlerHolds) {
  const auto held = std::make_shared<int>(1);
  const auto timer = this->world_.queue().schedule(1h, [held] {});
  EXPECT_EQ(held.use_count(), 2);
  timer->cancel();
  EXPECT_EQ(held.use_count(), 1);
}

TEST(MainRunLoopTest, ATimerArmedByAnotherThreadFiresOnTheThreadThatRunsTheLoop) {
  linux_adapter::MainRunLoop loop;
  std::thread::id firedOn;
  std::promise<void> isRunning;
  (void)loop.schedule(0ms, [&] { isRunning.set_value(); });
  std::jthread other([&] {
    isRunning.get_future().wait();
    (void)loop.schedule(10ms, [&] { firedOn = std::this_thread::get_id(); });
  });
  const auto deadline = std::chrono::steady_clock::now() + support::patience;
  while (firedOn == std::thread::id() && std::chrono::steady_clock::now() < deadline) loop.run(20ms);
  EXPECT_EQ(firedOn, std::this_thread::get_id());
}

TEST(MainRunLoopTest, ATimerFiresAndAPassEndsWithinMillisecondsOfItsTime) {
  linux_adapter::MainRunLoop loop;
  std::chrono::nanoseconds firedAfter = 1h;
  const support::Stopwatch watch;
  (void)loop.schedule(100ms, [&] { firedAfter = watch.elapsed(); });
  loop.run(200ms);
  EXPECT_LT(watch.elapsed(), 250ms);
  EXPECT_LT(firedAfter, 150ms);
}

}  // namespace
}  // namespace wicket::contract
