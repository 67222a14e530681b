// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <algorithm>
#include <chrono>
#include <gtest/gtest.h>
#include <stdexcept>
#include <systemd/sd-event.h>
#include <thread>

#include "adapters/linux/bus/SdTimer.h"
#include "base/system/linux/SdHandle.h"

namespace wicket::linux_adapter {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class SdTimerTest : public testing::Test {
 protected:
  SdTimerTest() {
    sd_event* created = nullptr;
    if (sd_event_new(&created) < 0) throw std::runtime_error("no event loop");
    event_.reset(created);
  }
  int arm(std::chrono::microseconds delay) { return armTimer(event_.get(), timer_, delay, &wentOff, this); }
  /// Runs the loop until a timer has gone off or it had that long.
  void runFor(std::chrono::microseconds time) {
    const auto end = Clock::now() + time;
    while (timesGoneOff_ == 0 && Clock::now() < end) {
      const auto rest = std::chrono::ceil<std::chrono::microseconds>(end - Clock::now());
      ASSERT_GE(sd_event_run(event_.get(), static_cast<std::uint64_t>(std::max(rest, 0us).count())), 0);
    }
  }

  SdHandle<sd_event> event_;
  SdHandle<sd_event_source> timer_;
  int timesGoneOff_ = 0;
  Clock::time_point wentOffAt_;

 private:
  static int wentOff(sd_event_source* /*source*/, std::uint64_t /*time*/, void* test) {
    auto& self = *static_cast<SdTimerTest*>(test);
    ++self.timesGoneOff_;
    self.wentOffAt_ = Clock::now();
    return 0;
  }
};

TEST_F(SdTimerTest, ATimerGoesOffOnceAndNotBeforeItsTime) {
  const auto armed = Clock::now();
  ASSERT_GE(arm(30ms), 0);
  runFor(60s);
  ASSERT_EQ(timesGoneOff_, 1);
  EXPECT_GE(wentOffAt_ - armed, 30ms);
  (void)sd_event_run(event_.get(), 20'000);
  EXPECT_EQ(timesGoneOff_, 1);
}

TEST_F(SdTimerTest, TheTimeCountsFromTheArmingAndNotFromWhenTheLoopWokeLast) {
  // The loop has a notion of now from here on, and it grows old.
  ASSERT_GE(sd_event_run(event_.get(), 0), 0);
  std::this_thread::sleep_for(100ms);
  const auto armed = Clock::now();
  ASSERT_GE(arm(50ms), 0);
  runFor(60s);
  ASSERT_EQ(timesGoneOff_, 1);
  EXPECT_GE(wentOffAt_ - armed, 50ms);
}

TEST_F(SdTimerTest, ATimerWhoseOwnerLetsGoOfItDoesNotGoOff) {
  ASSERT_GE(arm(10ms), 0);
  timer_.reset();
  runFor(50ms);
  EXPECT_EQ(timesGoneOff_, 0);
}

TEST_F(SdTimerTest, OneThatIsArmedAnewForgetsItsFirstTime) {
  ASSERT_GE(arm(1ms), 0);
  const auto armedAnew = Clock::now();
  ASSERT_GE(arm(60ms), 0);
  runFor(60s);
  ASSERT_EQ(timesGoneOff_, 1);
  EXPECT_GE(wentOffAt_ - armedAnew, 60ms);
}

TEST_F(SdTimerTest, NoTimeAtAllIsNow) {
  ASSERT_GE(arm(0us), 0);
  runFor(60s);
  EXPECT_EQ(timesGoneOff_, 1);
}

}  // namespace
}  // namespace wicket::linux_adapter
