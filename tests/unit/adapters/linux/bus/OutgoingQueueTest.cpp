// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

#include "adapters/linux/bus/OutgoingQueue.h"
#include "tests/support/ComesTrue.h"
#include "tests/support/Patience.h"

namespace wicket::linux_adapter {
namespace {

using PushResult = OutgoingQueue::PushResult;

/// Every item counts for this much, however little it carries.
constexpr std::size_t itemOverhead = 256;

PushResult pushLine(OutgoingQueue& queue, std::size_t size) { return queue.push(LogLine{std::string(size, 'x')}); }

/// A line that takes this much of the account with everything.
PushResult pushWhole(OutgoingQueue& queue, std::size_t size) { return pushLine(queue, size - itemOverhead); }

std::string nextLine(OutgoingQueue& queue) {
  const auto item = queue.pop();
  const auto* const line = item ? std::get_if<LogLine>(&*item) : nullptr;
  return line == nullptr ? "no line" : line->text;
}

/// Waits for capacity on a thread of its own.
class WaitingProducer {
 public:
  explicit WaitingProducer(OutgoingQueue& queue)
      : end_(std::async(std::launch::async, [this, &queue] {
          isUnderWay_ = true;
          queue.waitForCapacity();
        })) {
    while (!isUnderWay_) std::this_thread::yield();
  }
  [[nodiscard]] bool waitsFor(std::chrono::milliseconds time) const {
    return end_.wait_for(time) == std::future_status::timeout;
  }
  [[nodiscard]] bool isReleased() const { return end_.wait_for(support::patience) == std::future_status::ready; }

 private:
  std::atomic<bool> isUnderWay_ = false;
  std::future<void> end_;
};

constexpr std::chrono::milliseconds aMoment{50};

TEST(OutgoingQueueTest, ItemsComeOutInTheOrderInWhichTheyWentIn) {
  OutgoingQueue queue;
  for (const char* text : {"first", "second", "third"}) {
    ASSERT_EQ(queue.push(LogLine{text}), PushResult::accepted);
  }
  EXPECT_EQ(nextLine(queue), "first");
  EXPECT_EQ(nextLine(queue), "second");
  ASSERT_EQ(queue.push(LogLine{"fourth"}), PushResult::accepted);
  EXPECT_EQ(nextLine(queue), "third");
  EXPECT_EQ(nextLine(queue), "fourth");
  EXPECT_FALSE(queue.pop());
}

TEST(OutgoingQueueTest, OneThatFillsTheLimitExactlyIsTakenAndNotAByteMore) {
  OutgoingQueue queue;
  EXPECT_EQ(pushWhole(queue, OutgoingQueue::limit + 1), PushResult::overflow);
  EXPECT_EQ(pushWhole(queue, OutgoingQueue::limit), PushResult::accepted) << "the one before left nothing behind";
  EXPECT_EQ(pushLine(queue, 0), PushResult::overflow);
}

TEST(OutgoingQueueTest, WhatWasTakenStaysOnTheAccountUntilItIsWritten) {
  OutgoingQueue queue;
  ASSERT_EQ(pushWhole(queue, OutgoingQueue::limit), PushResult::accepted);
  ASSERT_TRUE(queue.pop());
  EXPECT_EQ(pushLine(queue, 0), PushResult::overflow);
  EXPECT_TRUE(queue.isAboveHighWater());
  queue.written();
  EXPECT_FALSE(queue.isAboveHighWater());
  EXPECT_EQ(pushWhole(queue, OutgoingQueue::limit), PushResult::accepted);
}

TEST(OutgoingQueueTest, EndlessItemsThatCarryNothingReachTheLimit) {
  OutgoingQueue queue;
  std::size_t items = 0;
  while (items <= OutgoingQueue::limit && queue.push(CalledAgain{{1, 1}, 0}) == PushResult::accepted) ++items;
  EXPECT_EQ(items, OutgoingQueue::limit / itemOverhead);
}

TEST(OutgoingQueueTest, TheTextOfAReplyCountsAsThatOfALine) {
  OutgoingQueue queue;
  const std::string text(OutgoingQueue::limit - itemOverhead, 'x');
  EXPECT_EQ(queue.push(MethodReply{{1, 1}, text + "x"}), PushResult::overflow);
  EXPECT_EQ(queue.push(MethodReply{{1, 1}, text}), PushResult::accepted);
  EXPECT_EQ(queue.push(MethodReply{{1, 1}, ReplyCode{0}}), PushResult::overflow);
}

TEST(OutgoingQueueTest, HighWaterItselfIsNotAboveIt) {
  OutgoingQueue queue;
  ASSERT_EQ(pushWhole(queue, OutgoingQueue::highWater), PushResult::accepted);
  EXPECT_FALSE(queue.isAboveHighWater());
  queue.waitForCapacity();  // does not block
  ASSERT_EQ(pushLine(queue, 0), PushResult::accepted);
  EXPECT_TRUE(queue.isAboveHighWater());
}

TEST(OutgoingQueueTest, AProducerWaitsUntilWhatIsAboveHighWaterIsWrittenAndNotOnlyTaken) {
  OutgoingQueue queue;
  ASSERT_EQ(pushWhole(queue, OutgoingQueue::highWater), PushResult::accepted);
  ASSERT_EQ(pushLine(queue, 0), PushResult::accepted);
  const WaitingProducer producer(queue);
  EXPECT_TRUE(producer.waitsFor(aMoment));
  ASSERT_TRUE(queue.pop());
  EXPECT_TRUE(producer.waitsFor(aMoment));
  queue.written();
  EXPECT_TRUE(producer.isReleased());
}

TEST(OutgoingQueueTest, AProducerWaitsOnWhileWhatIsLeftIsAboveHighWater) {
  OutgoingQueue queue;
  ASSERT_EQ(pushLine(queue, 0), PushResult::accepted);
  ASSERT_EQ(pushWhole(queue, OutgoingQueue::highWater + 1), PushResult::accepted);
  const WaitingProducer producer(queue);
  ASSERT_TRUE(queue.pop());
  queue.written();
  EXPECT_TRUE(producer.waitsFor(aMoment));
  ASSERT_TRUE(queue.pop());
  queue.written();
  EXPECT_TRUE(producer.isReleased());
}

TEST(OutgoingQueueTest, ClosingReleasesAllProducersAndDropsWhatIsQueuedAndWhatComesLater) {
  OutgoingQueue queue;
  ASSERT_EQ(pushWhole(queue, OutgoingQueue::limit), PushResult::accepted);
  const WaitingProducer first(queue);
  const WaitingProducer second(queue);
  ASSERT_TRUE(first.waitsFor(aMoment));
  queue.close();
  EXPECT_TRUE(first.isReleased());
  EXPECT_TRUE(second.isReleased());
  EXPECT_FALSE(queue.pop());
  EXPECT_FALSE(queue.isAboveHighWater());
  EXPECT_EQ(pushWhole(queue, OutgoingQueue::limit + 1), PushResult::dropped) << "too much of it is no overflow";
  EXPECT_FALSE(queue.pop());
}

TEST(OutgoingQueueTest, ProducersOnManyThreadsLoseNothingAndKeepTheirOwnOrder) {
  constexpr std::size_t producers = 4;
  constexpr std::size_t lines = 500;
  OutgoingQueue queue;
  std::vector<std::thread> threads;
  for (std::size_t producer = 0; producer < producers; ++producer) {
    threads.emplace_back([&queue, producer] {
      for (std::size_t line = 0; line < lines; ++line) {
        (void)queue.push(MethodReply{{producer, static_cast<std::uint32_t>(line)}, std::monostate{}});
      }
    });
  }
  std::vector<std::size_t> next(producers);
  std::size_t taken = 0;
  EXPECT_TRUE(support::comesTrue([&] {
    while (const auto item = queue.pop()) {
      const RequestId request = std::get<MethodReply>(*item).request;
      EXPECT_EQ(request.serial, next.at(request.number)++);
      ++taken;
    }
    queue.written();
    return taken == producers * lines;
  })) << taken;
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace wicket::linux_adapter
