// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include "adapters/linux/bus/SerialExecutor.h"
#include "tests/support/ComesTrue.h"
#include "tests/support/Patience.h"
#include "tests/support/ProcessInspection.h"

namespace wicket::linux_adapter {
namespace {

using support::comesTrue;
using support::patience;
using support::ProcessInspection;
using testing::ElementsAre;

/// How many threads there are now, with the one that a sanitizer adds for itself when a program makes its first.
std::size_t threadsBefore() {
  std::thread([] {}).join();
  return ProcessInspection::threadCount(getpid());
}

/// A job that lasts until it is told to end.
class LongJob {
 public:
  [[nodiscard]] SerialExecutor::Job job() {
    return [this] {
      begun_.set_value();
      end_.get_future().wait();
    };
  }
  [[nodiscard]] bool awaitBegin() { return begun_.get_future().wait_for(patience) == std::future_status::ready; }
  void end() { end_.set_value(); }

 private:
  std::promise<void> begun_;
  std::promise<void> end_;
};

/// Something that a job tells. The job keeps its part of it, as it may still be telling when the test has heard.
template <typename T>
class Told {
 public:
  [[nodiscard]] bool isTold() { return future_.wait_for(patience) == std::future_status::ready; }
  [[nodiscard]] T get() { return future_.get(); }
  /// For a job.
  [[nodiscard]] std::shared_ptr<std::promise<T>> promise() const { return promise_; }

 private:
  std::shared_ptr<std::promise<T>> promise_ = std::make_shared<std::promise<T>>();
  std::future<T> future_ = promise_->get_future();
};

/// Whether the executor has had all jobs, by one that comes after them.
bool runsOut(SerialExecutor& executor) {
  Told<bool> isDone;
  return executor.finish([done = isDone.promise()] { done->set_value(true); }) && isDone.isTold();
}

TEST(SerialExecutorTest, JobsRunOneAfterTheOtherInTheirOrderOnOneOtherThread) {
  SerialExecutor executor;
  std::vector<int> order;
  std::vector<std::thread::id> threads;
  std::atomic<int> running = 0;
  std::atomic<bool> overlapped = false;
  for (int i = 0; i < 100; ++i) {
    ASSERT_TRUE(executor.post([&, i] {
      if (++running > 1) overlapped = true;
      order.push_back(i);
      threads.push_back(std::this_thread::get_id());
      --running;
    }));
  }
  ASSERT_TRUE(runsOut(executor));
  EXPECT_FALSE(overlapped);
  ASSERT_EQ(order.size(), 100U);
  EXPECT_TRUE(std::ranges::is_sorted(order));
  EXPECT_THAT(threads, testing::Each(threads.front()));
  EXPECT_NE(threads.front(), std::this_thread::get_id());
}

TEST(SerialExecutorTest, AJobThatBlocksHoldsUpTheNextAndNotWhoeverPosts) {
  SerialExecutor executor;
  LongJob first;
  std::atomic<bool> hasRun = false;
  ASSERT_TRUE(executor.post(first.job()));
  ASSERT_TRUE(first.awaitBegin());
  ASSERT_TRUE(executor.post([&] { hasRun = true; }));
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_FALSE(hasRun);
  first.end();
  EXPECT_TRUE(comesTrue([&] { return hasRun.load(); }));
  ASSERT_TRUE(runsOut(executor));
}

TEST(SerialExecutorTest, AJobMayPostTheNext) {
  SerialExecutor executor;
  Told<bool> hasRun;
  ASSERT_TRUE(executor.post([&executor, told = hasRun.promise()] {
    if (!executor.post([told] { told->set_value(true); })) told->set_value(false);
  }));
  ASSERT_TRUE(hasRun.isTold());
  EXPECT_TRUE(hasRun.get());
  ASSERT_TRUE(runsOut(executor));
}

TEST(SerialExecutorTest, TheLastJobComesAfterThoseThatWaitAndNoneComesAfterIt) {
  SerialExecutor executor;
  LongJob first;
  std::vector<std::string> events;
  Told<bool> isDone;
  ASSERT_TRUE(executor.post(first.job()));
  ASSERT_TRUE(first.awaitBegin());
  ASSERT_TRUE(executor.post([&] { events.emplace_back("waited"); }));
  ASSERT_TRUE(executor.finish([&events, done = isDone.promise()] {
    events.emplace_back("last");
    done->set_value(true);
  }));
  EXPECT_FALSE(executor.post([&] { events.emplace_back("too late"); }));
  EXPECT_FALSE(executor.finish([&] { events.emplace_back("too late as well"); }));
  first.end();
  ASSERT_TRUE(isDone.isTold());
  EXPECT_THAT(events, ElementsAre("waited", "last"));
}

TEST(SerialExecutorTest, AnExecutorThatEndsWithoutALastJobHasHadThoseThatWaited) {
  const std::size_t threads = threadsBefore();
  SerialExecutor executor;
  LongJob first;
  std::atomic<bool> hasRun = false;
  ASSERT_TRUE(executor.post(first.job()));
  ASSERT_TRUE(first.awaitBegin());
  ASSERT_TRUE(executor.post([&] { hasRun = true; }));
  EXPECT_TRUE(executor.finish({}));
  EXPECT_FALSE(executor.post([] {}));
  first.end();
  EXPECT_TRUE(comesTrue([&] { return hasRun.load(); }));
  EXPECT_TRUE(comesTrue([&] { return ProcessInspection::threadCount(getpid()) <= threads; }));
}

TEST(SerialExecutorTest, OneThatNeverHadAJobNeedsNoThreadToEnd) {
  const std::size_t threads = threadsBefore();
  {
    SerialExecutor executor;
    EXPECT_TRUE(executor.finish({}));
    EXPECT_FALSE(executor.post([] {}));
    EXPECT_LE(ProcessInspection::threadCount(getpid()), threads);
  }
  EXPECT_LE(ProcessInspection::threadCount(getpid()), threads);
}

TEST(SerialExecutorTest, JobsStillRunWhenTheExecutorHasGoneAndItsThreadEndsAfterThem) {
  const std::size_t threads = threadsBefore();
  LongJob first;
  Told<bool> isDone;
  {
    SerialExecutor executor;
    ASSERT_TRUE(executor.post(first.job()));
    ASSERT_TRUE(executor.post([done = isDone.promise()] { done->set_value(true); }));
  }
  first.end();
  EXPECT_TRUE(isDone.isTold());
  EXPECT_TRUE(comesTrue([&] { return ProcessInspection::threadCount(getpid()) <= threads; }));
}

TEST(SerialExecutorTest, AJobMayDropTheLastReferenceToWhateverOwnsTheExecutor) {
  struct Owner {
    std::shared_ptr<void> tellsOfTheEnd;  ///< goes after the executor
    SerialExecutor executor;
  };
  Told<bool> hasGone;
  auto owner = std::make_shared<Owner>();
  owner->tellsOfTheEnd = {nullptr, [told = hasGone.promise()](void*) { told->set_value(true); }};
  const std::weak_ptr<Owner> watched = owner;
  LongJob first;
  ASSERT_TRUE(owner->executor.post(first.job()));
  // What the job holds is the last reference, and it goes only with the job.
  ASSERT_TRUE(owner->executor.post([kept = owner] {}));
  owner.reset();
  EXPECT_FALSE(watched.expired());
  first.end();
  EXPECT_TRUE(hasGone.isTold());
}

TEST(SerialExecutorTest, WhatAJobHoldsIsLetGoOfBeforeTheNextBegins) {
  SerialExecutor executor;
  LongJob first;
  auto thing = std::make_shared<int>(0);
  const std::weak_ptr<int> watched = thing;
  Told<bool> isGone;
  ASSERT_TRUE(executor.post(first.job()));
  ASSERT_TRUE(executor.post([kept = std::move(thing)] {}));
  ASSERT_TRUE(executor.post([watched, told = isGone.promise()] { told->set_value(watched.expired()); }));
  first.end();
  ASSERT_TRUE(isGone.isTold());
  EXPECT_TRUE(isGone.get());
}

}  // namespace
}  // namespace wicket::linux_adapter
