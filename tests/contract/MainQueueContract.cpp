// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <atomic>
#include <chrono>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

#include "adapters/linux/MainRunLoop.h"
#include "tests/doubles/VirtualMainQueue.h"

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

using TimeKinds = testing::Types<RealTime, VirtualTime>;
TYPED_TEST_SUITE(MainQueueContract, TimeKinds, TimeNames);

TYPED_TEST(MainQueueContract, APassLastsItsFullTimeWhateverRuns) {
  (void)this->arm(10ms, "a");
  const auto before = this->world_.now();
  this->world_.queue().run(60ms);
  EXPECT_GE(this->world_.now() - before, 60ms);
  EXPECT_LT(this->world_.now() - before, 1s);
  EXPECT_THAT(this->fired_, ElementsAre("a"));
}

TYPED_TEST(MainQueueContract, TimersFireInTheOrderOfTheirDeadlines) {
  (void)this->arm(30ms, "third");
  (void)this->arm(10ms, "first");
  (void)this->arm(20ms, "second");
  this->world_.queue().run(50ms);
  EXPECT_THAT(this->fired_, ElementsAre("first", "second", "third"));
}

TYPED_TEST(MainQueueContract, ATimerNeverFiresEarly) {
  const auto before = this->world_.now();
  std::chrono::nanoseconds fired{};
  (void)this->world_.queue().schedule(25ms, [&] { fired = this->world_.now(); });
  this->world_.queue().run(60ms);
  EXPECT_GE(fired - before, 25ms);
}

TYPED_TEST(MainQueueContract, ATimerBeyondThePassFiresInALaterOneOnce) {
  (void)this->arm(40ms, "late");
  this->world_.queue().run(10ms);
  EXPECT_THAT(this->fired_, IsEmpty());
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
  (void)this->arm(100ms, "due after it");
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

TYPED_TEST(MainQueueContract, ATimerThatAHandlerArmsFiresInTheSamePass) {
  (void)this->world_.queue().schedule(5ms, [this] { (void)this->arm(5ms, "inner"); });
  this->world_.queue().run(40ms);
  EXPECT_THAT(this->fired_, ElementsAre("inner"));
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
  std::thread other([&] {
    std::this_thread::sleep_for(20ms);
    (void)loop.schedule(10ms, [&] { firedOn = std::this_thread::get_id(); });
  });
  loop.run(200ms);
  other.join();
  EXPECT_EQ(firedOn, std::this_thread::get_id());
}

TEST(MainRunLoopTest, ATimerFiresWithinMillisecondsOfItsDeadline) {
  linux_adapter::MainRunLoop loop;
  const auto armed = std::chrono::steady_clock::now();
  std::chrono::steady_clock::duration late{};
  (void)loop.schedule(100ms, [&] { late = std::chrono::steady_clock::now() - armed - 100ms; });
  loop.run(200ms);
  EXPECT_GE(late, 0ms);
  EXPECT_LT(late, 50ms);
}

}  // namespace
}  // namespace wicket::contract
