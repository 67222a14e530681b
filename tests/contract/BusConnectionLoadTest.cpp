// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <algorithm>
#include <atomic>
#include <ctime>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "adapters/linux/OutgoingQueue.h"
#include "tests/contract/RealListener.h"
#include "tests/support/ProcessInspection.h"
#include "wire/BusNames.h"

namespace wicket::contract {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using linux_adapter::OutgoingQueue;
using support::DBusBytes;
using support::ProcessInspection;
using support::RawClient;
using testing::ElementsAre;

class BusConnectionLoadTest : public RealListener {
 protected:
  static bool comesTrue(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!condition() && std::chrono::steady_clock::now() < deadline) std::this_thread::sleep_for(5ms);
    return condition();
  }
};

TEST_F(BusConnectionLoadTest, AThousandConnectionsOpenedAndClosedLeaveNothingBehind) {
  // The first client brings the delegate's queue to life, which stays.
  const std::size_t threads = ProcessInspection::threadCount(getpid()) + 1;
  ASSERT_TRUE(answersOthersWithin(1s));
  ASSERT_EQ(object_.awaitEvents(2).back(), "invalidated");
  ASSERT_TRUE(comesTrue([&] { return ProcessInspection::threadCount(getpid()) <= threads; }));
  const std::size_t descriptors = ProcessInspection::descriptorCount(getpid());
  for (int i = 0; i < 1000; ++i) {
    RawClient client(path());
    ASSERT_TRUE(client.isConnected());
    EXPECT_TRUE(i % 3 != 1 || client.authenticate());
    if (i % 3 == 2) client.send("\0AUTH"s);
  }
  EXPECT_TRUE(answersOthersWithin(1s));
  EXPECT_TRUE(comesTrue([&] { return ProcessInspection::descriptorCount(getpid()) <= descriptors; }));
  EXPECT_TRUE(comesTrue([&] { return ProcessInspection::threadCount(getpid()) <= threads; }));
}

TEST_F(BusConnectionLoadTest, AClientThatStopsReadingHoldsUpItsProducerOnlyAndGetsEverythingInOrder) {
  constexpr std::size_t pieces = 1000;
  constexpr std::size_t pieceSize = std::size_t{64} << 10U;
  const auto client = connect();
  client->pumpFor(50ms);
  const auto connection = delegate_.await(0);
  ASSERT_NE(connection, nullptr);
  std::atomic<std::size_t> produced = 0;
  std::thread producer([&] {
    const auto proxy = connection->remoteObjectProxy();
    for (std::size_t i = 0; i < pieces; ++i) {
      connection->waitForCapacity();
      std::string piece = std::to_string(i) + " ";
      piece.resize(pieceSize, '.');
      proxy->logWithStdOut(piece);
      ++produced;
    }
  });
  std::this_thread::sleep_for(300ms);
  const std::size_t before = produced;
  EXPECT_GT(before, 0U);
  EXPECT_LE(before * pieceSize, OutgoingQueue::highWater + (std::size_t{1} << 20U));
  EXPECT_TRUE(answersOthersWithin(100ms));
  std::this_thread::sleep_for(100ms);
  EXPECT_EQ(produced, before);

  std::size_t next = 0;
  client->setLogSink([&](std::string_view text) {
    if (text.size() == pieceSize && text.starts_with(std::to_string(next) + " ")) ++next;
  });
  EXPECT_TRUE(client->pumpUntil([&] { return next == pieces; }, patience));
  EXPECT_EQ(next, pieces);
  producer.join();
}

TEST_F(BusConnectionLoadTest, AnInvalidationReleasesAProducerThatWaits) {
  const auto client = connect();
  client->pumpFor(50ms);
  const auto connection = delegate_.await(0);
  ASSERT_NE(connection, nullptr);
  auto producer = std::async(std::launch::async, [&] {
    for (int i = 0; i < 100; ++i) {
      connection->waitForCapacity();
      connection->remoteObjectProxy()->logWithStdOut(std::string(std::size_t{64} << 10U, 'x'));
    }
  });
  EXPECT_EQ(producer.wait_for(300ms), std::future_status::timeout);
  connection->invalidate();
  EXPECT_EQ(producer.wait_for(1s), std::future_status::ready);
}

TEST_F(BusConnectionLoadTest, TheEndOfAClientReleasesAProducerThatWaits) {
  auto client = connect();
  client->pumpFor(50ms);
  const auto connection = delegate_.await(0);
  ASSERT_NE(connection, nullptr);
  auto producer = std::async(std::launch::async, [&] {
    for (int i = 0; i < 100; ++i) {
      connection->waitForCapacity();
      connection->remoteObjectProxy()->logWithStdOut(std::string(std::size_t{64} << 10U, 'x'));
    }
  });
  EXPECT_EQ(producer.wait_for(300ms), std::future_status::timeout);
  client.reset();
  EXPECT_EQ(producer.wait_for(1s), std::future_status::ready);
}

TEST_F(BusConnectionLoadTest, AClientThatDoesNotReadWhatOthersKeepSendingIsInvalidated) {
  const auto client = connect();
  client->pumpFor(50ms);
  const auto proxy = delegate_.await(0)->remoteObjectProxy();
  const std::string piece(std::size_t{64} << 10U, 'x');
  for (std::size_t sent = 0; sent < 2 * OutgoingQueue::limit; sent += piece.size()) proxy->logWithStdOut(piece);
  EXPECT_THAT(object_.awaitEvents(1), ElementsAre("invalidated"));
  EXPECT_TRUE(answersOthersWithin(1s));
}

TEST_F(BusConnectionLoadTest, AClientWhoseCallsAreNotDoneWaitsInItsSocket) {
  std::promise<void> release;
  object_.onCode = [future = release.get_future().share()](const HelperProtocol::CodeCompletion& completion) {
    future.wait();
    completion(0);
  };
  RawClient client(path());
  ASSERT_TRUE(client.authenticate());
  const std::string call = DBusBytes::methodCall(7, "uninstallScriptWithFilename_completion_", "s",
                                                 DBusBytes::string(std::string(4000, 'n')));
  constexpr int calls = 2000;
  std::atomic<int> sent = 0;
  std::thread sender([&] {
    while (sent < calls && client.send(call)) ++sent;
  });
  std::this_thread::sleep_for(300ms);
  EXPECT_LT(sent, 1000);
  EXPECT_TRUE(answersOthersWithin(100ms));
  release.set_value();
  sender.join();
  EXPECT_EQ(sent, calls);
  // One more call, the version, was made by the other client, which has closed.
  EXPECT_TRUE(comesTrue([&] { return object_.events().size() == calls + 2; }));
}

TEST_F(BusConnectionLoadTest, CallsThatWaitedInTheSocketOfAClientThatHasGoneAreDeliveredInTheEnd) {
  std::promise<void> release;
  object_.onUninstall = [future = release.get_future().share()] { future.wait(); };
  std::string call = DBusBytes::methodCall(7, "uninstallWithAll_", "y", "\1"s);
  call[2] = '\1';  // no reply expected: nothing but the end of a call wakes the connection
  constexpr int calls = 200;
  {
    RawClient client(path());
    ASSERT_TRUE(client.authenticate());
    for (int i = 0; i < calls; ++i) ASSERT_TRUE(client.send(call));
  }
  std::this_thread::sleep_for(100ms);
  const std::clock_t before = std::clock();
  std::this_thread::sleep_for(300ms);
  EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 20) << "the hang-up keeps the thread busy";

  release.set_value();
  const auto events = object_.awaitEvents(calls + 1);
  EXPECT_EQ(std::ranges::count(events, "uninstall all"), calls);
  EXPECT_EQ(events.back(), "invalidated");
}

TEST_F(BusConnectionLoadTest, AClientThatAsksWithoutReadingTheAnswersIsNotServedFurther) {
  RawClient client(path());
  ASSERT_TRUE(client.authenticate());
  const std::string call = DBusBytes::methodCall(7, "noSuchMember", "", "");
  std::atomic<std::size_t> sent = 0;
  std::thread sender([&] {
    while (client.send(call)) ++sent;
  });
  std::this_thread::sleep_for(500ms);
  const std::size_t before = sent;
  std::this_thread::sleep_for(200ms);
  EXPECT_EQ(sent, before);
  EXPECT_TRUE(answersOthersWithin(100ms));
  delegate_.await(0)->invalidate();
  sender.join();
}

TEST_F(BusConnectionLoadTest, SixtyFourClientsAtOnceAreAllServed) {
  std::vector<std::unique_ptr<support::BusClient>> clients;
  std::vector<support::BusClient::Serial> serials;
  for (int i = 0; i < 64; ++i) {
    clients.push_back(connect());
    serials.push_back(clients.back()->startVersion());
  }
  for (std::size_t i = 0; i < clients.size(); ++i) {
    const auto reply = clients[i]->await(serials[i]);
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->text, "1");
  }
}

}  // namespace
}  // namespace wicket::contract
