// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <algorithm>
#include <atomic>
#include <chrono>
#include <ctime>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "adapters/linux/bus/OutgoingQueue.h"
#include "tests/contract/RealListener.h"
#include "tests/support/ComesTrue.h"
#include "tests/support/ProcessInspection.h"
#include "wire/BusNames.h"

namespace wicket::contract {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using linux_adapter::OutgoingQueue;
using support::comesTrue;
using support::DBusBytes;
using support::ProcessInspection;
using support::RawClient;
using testing::ElementsAre;

class BusConnectionLoadTest : public RealListener {
 protected:
  static constexpr std::size_t pieceSize = std::size_t{64} << 10U;
  /// What the system's buffers hold besides the queue.
  static constexpr std::size_t buffers = std::size_t{1} << 20U;
  /// Long enough for a producer that does not wait to produce all.
  static constexpr auto aWhile = 300ms;

  /// A client that does not read, and its connection.
  struct Reader {
    std::unique_ptr<support::BusClient> client;
    std::shared_ptr<Connection> connection;
  };
  Reader connectReader() {
    auto client = connectAndGreet();
    return {std::move(client), delegate_.await(0)};
  }
  /// Sends numbered pieces, each when there is room for it. @p produced counts them.
  static void produce(Connection& connection, std::size_t pieces, std::atomic<std::size_t>& produced) {
    const auto proxy = connection.remoteObjectProxy();
    while (produced < pieces) {
      connection.waitForCapacity();
      std::string piece = std::to_string(produced) + " ";
      piece.resize(pieceSize, '.');
      proxy->logWithStdOut(piece);
      ++produced;
    }
  }
  /// Whether the queue fills, as it must, and no more is produced then.
  static bool producesNoMoreThanTheQueueHolds(const std::atomic<std::size_t>& produced) {
    const bool fills = comesTrue([&] { return produced * pieceSize >= OutgoingQueue::highWater; });
    std::this_thread::sleep_for(aWhile);
    return fills && produced * pieceSize <= OutgoingQueue::highWater + buffers;
  }
};

TEST_F(BusConnectionLoadTest, AThousandConnectionsOpenedAndClosedLeaveNothingBehind) {
  // The first client brings the delegate's queue to life, which stays.
  const std::size_t threads = ProcessInspection::threadCount(getpid()) + 1;
  ASSERT_TRUE(answersOthers());
  ASSERT_EQ(object_.awaitEvents(2).back(), "invalidated");
  ASSERT_TRUE(comesTrue([&] { return ProcessInspection::threadCount(getpid()) <= threads; }));
  const std::size_t descriptors = ProcessInspection::descriptorCount(getpid());
  for (int i = 0; i < 1000; ++i) {
    RawClient client(path());
    ASSERT_TRUE(client.isConnected());
    EXPECT_TRUE(i % 3 != 1 || client.authenticate());
    if (i % 3 == 2) client.send("\0AUTH"s);
  }
  EXPECT_TRUE(answersOthers());
  EXPECT_TRUE(comesTrue([&] { return ProcessInspection::descriptorCount(getpid()) <= descriptors; }));
  EXPECT_TRUE(comesTrue([&] { return ProcessInspection::threadCount(getpid()) <= threads; }));
}

TEST_F(BusConnectionLoadTest, AClientThatStopsReadingHoldsUpItsProducerOnlyAndGetsEverythingInOrder) {
  constexpr std::size_t pieces = 1000;
  const auto [client, connection] = connectReader();
  ASSERT_NE(connection, nullptr);
  std::atomic<std::size_t> produced = 0;
  std::thread producer([&, &served = *connection] { produce(served, pieces, produced); });
  EXPECT_TRUE(producesNoMoreThanTheQueueHolds(produced)) << produced;
  EXPECT_TRUE(answersOthers());

  std::size_t next = 0;
  client->setLogSink([&](std::string_view text) {
    if (text.size() == pieceSize && text.starts_with(std::to_string(next) + " ")) ++next;
  });
  EXPECT_TRUE(client->pumpUntil([&] { return next == pieces; })) << next;
  connection->invalidate();  // releases the producer where that failed
  producer.join();
}

TEST_F(BusConnectionLoadTest, AnInvalidationReleasesAProducerThatWaits) {
  const auto [client, connection] = connectReader();
  ASSERT_NE(connection, nullptr);
  std::atomic<std::size_t> produced = 0;
  auto producer = std::async(std::launch::async, [&, &served = *connection] { produce(served, 100, produced); });
  EXPECT_TRUE(producesNoMoreThanTheQueueHolds(produced)) << produced;
  connection->invalidate();
  EXPECT_EQ(producer.wait_for(patience), std::future_status::ready);
}

TEST_F(BusConnectionLoadTest, TheEndOfAClientReleasesAProducerThatWaits) {
  auto [client, connection] = connectReader();
  ASSERT_NE(connection, nullptr);
  std::atomic<std::size_t> produced = 0;
  auto producer = std::async(std::launch::async, [&, &served = *connection] { produce(served, 100, produced); });
  EXPECT_TRUE(producesNoMoreThanTheQueueHolds(produced)) << produced;
  client.reset();
  EXPECT_EQ(producer.wait_for(patience), std::future_status::ready);
}

TEST_F(BusConnectionLoadTest, AClientThatDoesNotReadWhatOthersKeepSendingIsInvalidated) {
  const auto [client, connection] = connectReader();
  ASSERT_NE(connection, nullptr);
  const auto proxy = connection->remoteObjectProxy();
  const std::string piece(pieceSize, 'x');
  for (std::size_t sent = 0; sent < 2 * OutgoingQueue::limit; sent += piece.size()) proxy->logWithStdOut(piece);
  EXPECT_THAT(object_.awaitEvents(1), ElementsAre("invalidated"));
  EXPECT_TRUE(answersOthers());
}

TEST_F(BusConnectionLoadTest, AClientWhoseCallsAreNotDoneWaitsInItsSocket) {
  object_.onCode = [this](const HelperProtocol::CodeCompletion& completion) {
    gate_.pass();
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
  std::this_thread::sleep_for(aWhile);
  EXPECT_LT(sent, 1000);
  EXPECT_TRUE(answersOthers());
  gate_.open();
  sender.join();
  EXPECT_EQ(sent, calls);
  // One more call, the version, was made by the other client, which has closed.
  EXPECT_EQ(object_.awaitEvents(calls + 2).size(), calls + 2U);
}

TEST_F(BusConnectionLoadTest, CallsThatWaitedInTheSocketOfAClientThatHasGoneAreDeliveredInTheEnd) {
  object_.onUninstall = [this] { gate_.pass(); };
  std::string call = DBusBytes::methodCall(7, "uninstallWithAll_", "y", "\1"s);
  call[2] = '\1';  // no reply expected: nothing but the end of a call wakes the connection
  constexpr int calls = 200;
  {
    RawClient client(path());
    ASSERT_TRUE(client.authenticate());
    for (int i = 0; i < calls; ++i) ASSERT_TRUE(client.send(call));
  }
  // Once another one has come, the hang-up has been noticed.
  ASSERT_EQ(object_.awaitEvents(1).size(), 1U);
  const auto other = connectAndGreet();
  const std::clock_t before = std::clock();
  std::this_thread::sleep_for(aWhile);
  EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 20) << "the hang-up keeps the thread busy";

  gate_.open();
  const auto events = object_.awaitEvents(calls + 1);
  EXPECT_EQ(std::ranges::count(events, "uninstall all"), calls);
  EXPECT_EQ(events.back(), "invalidated");
}

TEST_F(BusConnectionLoadTest, AClientThatAsksWithoutReadingTheAnswersIsNotServedFurther) {
  RawClient client(path());
  ASSERT_TRUE(client.authenticate());
  const std::string call = DBusBytes::methodCall(7, "noSuchMember", "", "");
  // Many times what the buffers of both directions hold.
  constexpr int tooMany = 100'000;
  client.giveUpSendingAfter(aWhile);
  int sent = 0;
  while (sent < tooMany && client.send(call)) ++sent;
  EXPECT_LT(sent, tooMany);
  EXPECT_TRUE(answersOthers());
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
