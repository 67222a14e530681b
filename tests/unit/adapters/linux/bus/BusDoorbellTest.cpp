// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <atomic>
#include <chrono>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <poll.h>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "adapters/linux/bus/BusDoorbell.h"
#include "tests/support/Patience.h"

namespace wicket::linux_adapter {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class BusDoorbellTest : public testing::Test {
 protected:
  /// Writes down that it was asked, and does what the test says.
  class Worker : public BusWorker {
   public:
    Worker(std::string name, std::vector<std::string>& served) : name_(std::move(name)), served_(served) {}
    void service() override {
      served_.push_back(name_);
      if (onService) onService();
    }
    std::function<void()> onService;

   private:
    const std::string name_;
    std::vector<std::string>& served_;
  };

  BusDoorbellTest() { bell_.makeRoomFor(8); }
  std::shared_ptr<Worker> worker(const std::string& name) { return std::make_shared<Worker>(name, served_); }
  /// What the loop of the I/O thread waits for.
  bool isReadable() const {
    pollfd state{bell_.descriptor(), POLLIN, 0};
    return poll(&state, 1, 0) > 0;
  }

  std::vector<std::string> served_;
  BusDoorbell bell_;
};

TEST_F(BusDoorbellTest, WhoeverRangIsServedOnceInTheOrderOfTheFirstRings) {
  const auto first = worker("first");
  const auto second = worker("second");
  for (const auto& ringing : {first, second, first, second, second}) bell_.ring(ringing);
  bell_.answer();
  EXPECT_THAT(served_, ElementsAre("first", "second"));
  bell_.answer();
  EXPECT_THAT(served_, ElementsAre("first", "second")) << "and not again";
}

TEST_F(BusDoorbellTest, TheDescriptorIsReadableFromTheFirstRingToTheAnswer) {
  const auto ringing = worker("a");
  EXPECT_FALSE(isReadable());
  bell_.ring(ringing);
  bell_.ring(ringing);
  EXPECT_TRUE(isReadable());
  bell_.answer();
  EXPECT_FALSE(isReadable());
}

TEST_F(BusDoorbellTest, ARingDuringTheServiceIsForTheNextAnswer) {
  const auto ringing = worker("a");
  ringing->onService = [&] { bell_.ring(ringing); };
  bell_.ring(ringing);
  bell_.answer();
  EXPECT_THAT(served_, ElementsAre("a"));
  EXPECT_TRUE(isReadable());
  ringing->onService = nullptr;
  bell_.answer();
  EXPECT_THAT(served_, ElementsAre("a", "a"));
  EXPECT_FALSE(isReadable());
}

TEST_F(BusDoorbellTest, AWorkerThatHasGoneIsPassedOver) {
  auto gone = worker("gone");
  const auto left = worker("left");
  bell_.ring(gone);
  bell_.ring(left);
  gone.reset();
  bell_.ring({});
  bell_.answer();
  EXPECT_THAT(served_, ElementsAre("left"));
}

TEST_F(BusDoorbellTest, AWorkerThatGoesWhileAnotherIsServedIsNotServed) {
  const auto first = worker("first");
  auto second = worker("second");
  first->onService = [&] { second.reset(); };
  bell_.ring(first);
  bell_.ring(second);
  bell_.answer();
  EXPECT_THAT(served_, ElementsAre("first"));
}

TEST_F(BusDoorbellTest, AWorkerThatTakesInManyOthersLeavesTheAnswerWhole) {
  const auto taking = worker("taking");
  const auto later = worker("later");
  taking->onService = [&] { bell_.makeRoomFor(10'000); };
  bell_.ring(taking);
  bell_.ring(later);
  bell_.answer();
  EXPECT_THAT(served_, ElementsAre("taking", "later"));
}

TEST_F(BusDoorbellTest, AfterTheEndRingsAreLostAndSoAreThoseThatWait) {
  const auto before = worker("before");
  const auto after = worker("after");
  bell_.ring(before);
  bell_.close();
  bell_.ring(after);
  bell_.answer();
  EXPECT_THAT(served_, IsEmpty());
}

TEST_F(BusDoorbellTest, NoRingOfManyThreadsIsLost) {
  constexpr int rings = 2000;
  std::atomic<int> changes = 0;
  int seen = 0;
  const auto ringing = worker("a");
  ringing->onService = [&] { seen = changes; };
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int ring = 0; ring < rings; ++ring) {
        ++changes;
        bell_.ring(ringing);
      }
    });
  }
  while (seen < 4 * rings) {
    pollfd state{bell_.descriptor(), POLLIN, 0};
    if (poll(&state, 1, std::chrono::milliseconds(support::patience).count()) != 1) break;
    bell_.answer();
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(seen, 4 * rings) << "nobody was told of the last change";
}

}  // namespace
}  // namespace wicket::linux_adapter
