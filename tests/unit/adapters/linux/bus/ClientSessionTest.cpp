// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <array>
#include <chrono>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <utility>

#include "adapters/linux/bus/BusConnection.h"
#include "protocol/AppProtocol.h"
#include "tests/doubles/RecordingHelperObject.h"
#include "tests/support/ComesTrue.h"

namespace wicket::linux_adapter {
namespace {

using support::comesTrue;
using testing::ElementsAre;
using testing::IsEmpty;

/// A session whose client is this very process, and whose channel is the test.
class ClientSessionTest : public testing::Test {
 protected:
  /// What calls have waiting at most before the client waits, too.
  static constexpr int unfinishedCalls = 64;

  class Channel : public BusWorker {
   public:
    void service() override { ++times; }
    int times = 0;
  };

  ClientSessionTest() {
    bell_->makeRoomFor(4);
    connection_ = std::make_shared<BusConnection>(bell_, thisProcess(), shares_);
    connection_->attach(channel_);
    connection_->setExportedInterface(helper_protocol::interface);
    connection_->setRemoteObjectInterface(app_protocol::interface);
    connection_->setExportedObject(object_.unowned());
    connection_->setInvalidationHandler([this] { object_.record("invalidated"); });
  }
  ~ClientSessionTest() override {
    gate_.set_value();
    const std::weak_ptr<BusConnection> watched = connection_;
    connection_->invalidate();
    connection_.reset();
    // Its jobs use the object.
    EXPECT_TRUE(comesTrue([&] { return watched.expired(); }));
    (void)object_.events();
  }
  ClientSession& session() { return *connection_; }
  void deliverRemoval(const std::string& name) {
    connection_->deliver({helper_protocol::uninstallScriptWithFilename, {name}}, nullptr);
  }
  /// From now on each call waits for the end of the test, or for openGate().
  void closeGate() {
    object_.onCode = [gate = gate_.get_future().share()](const HelperProtocol::CodeCompletion& completion) {
      gate.wait();
      completion(0);
    };
  }
  void openGate() { std::exchange(gate_, std::promise<void>()).set_value(); }
  /// Whether the channel was rung for since it was asked last.
  bool wasRung() {
    const int before = channel_->times;
    bell_->answer();
    return channel_->times > before;
  }
  static std::string removalOf(const std::string& name) { return "uninstallScriptWithFilename " + name; }

  std::shared_ptr<BusDoorbell> bell_ = std::make_shared<BusDoorbell>();
  std::shared_ptr<Channel> channel_ = std::make_shared<Channel>();
  UserShares shares_;
  doubles::RecordingHelperObject object_;
  std::promise<void> gate_;
  std::shared_ptr<BusConnection> connection_;

 private:
  static PeerProcess thisProcess() {
    std::array<int, 2> pair{-1, -1};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()) != 0) throw std::runtime_error("no sockets");
    const Descriptor here(pair[0]);
    const Descriptor there(pair[1]);
    const auto peer = PeerProcess::ofSocket(here.get());
    if (!peer) throw std::runtime_error("no peer");
    return *peer;
  }
};

TEST_F(ClientSessionTest, ItRunsOnceItIsBothAcceptedAndResumed) {
  EXPECT_FALSE(session().isRunning());
  session().accept();
  EXPECT_TRUE(wasRung());
  EXPECT_FALSE(session().isRunning());
  connection_->resume();
  EXPECT_TRUE(wasRung());
  EXPECT_TRUE(session().isRunning());
  session().clientEnded();
  EXPECT_FALSE(session().isRunning());
}

TEST_F(ClientSessionTest, WhatIsResumedBeforeItIsAcceptedDoesNotRunYet) {
  connection_->resume();
  EXPECT_FALSE(session().isRunning());
  session().accept();
  EXPECT_TRUE(session().isRunning());
}

TEST_F(ClientSessionTest, CallsOfAClientThatHasGoneStillRunAndTheHandlerComesAfterThem) {
  closeGate();
  deliverRemoval("a");
  deliverRemoval("b");
  ASSERT_EQ(object_.awaitEvents(1).size(), 1U);
  session().clientEnded();
  EXPECT_TRUE(session().hasEnded());
  openGate();
  EXPECT_THAT(object_.awaitEvents(3), ElementsAre(removalOf("a"), removalOf("b"), "invalidated"));
}

TEST_F(ClientSessionTest, AfterACutNoCallStartsAndTheHandlerWaitsForTheOneThatRuns) {
  closeGate();
  deliverRemoval("a");
  deliverRemoval("b");
  ASSERT_EQ(object_.awaitEvents(1).size(), 1U);
  connection_->invalidate();
  EXPECT_TRUE(wasRung()) << "the channel has to close";
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_THAT(object_.events(), ElementsAre(removalOf("a")));
  openGate();
  EXPECT_THAT(object_.awaitEvents(2), ElementsAre(removalOf("a"), "invalidated"));
}

TEST_F(ClientSessionTest, TheHandlerOfAClientThatIsRefusedIsDroppedWithoutHavingRun) {
  auto held = std::make_shared<int>(0);
  const std::weak_ptr<int> watched = held;
  connection_->setInvalidationHandler([this, held = std::move(held)] { object_.record("invalidated"); });
  session().refuse();
  EXPECT_TRUE(session().hasEnded());
  EXPECT_TRUE(watched.expired());
  connection_->invalidate();
  session().detach();
  EXPECT_THAT(object_.events(), IsEmpty());
}

TEST_F(ClientSessionTest, OnlyTheFirstEndCounts) {
  session().clientEnded();
  session().refuse();
  connection_->invalidate();
  EXPECT_THAT(object_.awaitEvents(1), ElementsAre("invalidated"));
  deliverRemoval("late");
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_THAT(object_.events(), ElementsAre("invalidated"));
}

TEST_F(ClientSessionTest, WhatIsSentIsQueuedAndRingsTheChannel) {
  session().send(LogLine{"one"});
  EXPECT_TRUE(wasRung());
  EXPECT_FALSE(wasRung());
  const auto item = session().outgoing().pop();
  ASSERT_TRUE(item);
  EXPECT_EQ(std::get<LogLine>(*item).text, "one");
}

TEST_F(ClientSessionTest, AfterTheEndNothingIsQueuedAndNobodyWaits) {
  session().send(LogLine{std::string(2 * OutgoingQueue::highWater, 'x')});
  auto producer = std::async(std::launch::async, [this] { connection_->waitForCapacity(); });
  connection_->invalidate();
  EXPECT_EQ(producer.wait_for(support::patience), std::future_status::ready);
  session().send(LogLine{"late"});
  EXPECT_FALSE(session().outgoing().pop());
}

TEST_F(ClientSessionTest, MoreThanTheQueueHoldsCutsTheClient) {
  const std::string half(OutgoingQueue::limit / 2, 'x');
  session().send(LogLine{half});
  EXPECT_FALSE(session().hasEnded());
  session().send(LogLine{half});
  EXPECT_TRUE(session().hasEnded());
  EXPECT_THAT(object_.awaitEvents(1), ElementsAre("invalidated"));
}

TEST_F(ClientSessionTest, ItIsBusyWithManyCallsAndTellsTheChannelWhenItIsNoLonger) {
  closeGate();
  for (int i = 1; i < unfinishedCalls; ++i) deliverRemoval("a");
  EXPECT_FALSE(session().isBusy());
  deliverRemoval("a");
  EXPECT_TRUE(session().isBusy());
  (void)wasRung();
  openGate();
  EXPECT_TRUE(comesTrue([&] { return !session().isBusy(); }));
  EXPECT_TRUE(comesTrue([&] { return wasRung(); }));
}

TEST_F(ClientSessionTest, ItIsBusyWithFewCallsThatAreLarge) {
  closeGate();
  const std::string half(std::size_t{1} << 20U, 'x');
  deliverRemoval(half);
  EXPECT_FALSE(session().isBusy());
  deliverRemoval(half);
  EXPECT_TRUE(session().isBusy());
  openGate();
  EXPECT_TRUE(comesTrue([&] { return !session().isBusy(); }));
}

TEST_F(ClientSessionTest, ItIsBusyWhileTheClientDoesNotReadWhatIsQueued) {
  session().send(LogLine{std::string(OutgoingQueue::highWater, 'x')});
  EXPECT_TRUE(session().isBusy());
  ASSERT_TRUE(session().outgoing().pop());
  EXPECT_TRUE(session().isBusy());
  session().outgoing().written();
  EXPECT_FALSE(session().isBusy());
}

TEST_F(ClientSessionTest, AChannelThatHasClosedIsNotRungAnyMore) {
  session().detach();
  session().send(LogLine{"late"});
  connection_->invalidate();
  EXPECT_FALSE(wasRung());
}

TEST_F(ClientSessionTest, ACallAndTheHandlerKeepTheConnectionUntilTheyHaveReturned) {
  auto other = std::make_shared<BusConnection>(bell_, session().peer(), shares_);
  const std::weak_ptr<Connection> watched = other;
  closeGate();
  other->setExportedObject(object_.unowned());
  other->setInvalidationHandler([this] { object_.record("other ended"); });
  other->deliver({helper_protocol::uninstallScriptWithFilename, {"a"}}, nullptr);
  ASSERT_EQ(object_.awaitEvents(1).size(), 1U);
  other->clientEnded();
  other.reset();
  EXPECT_FALSE(watched.expired());
  openGate();
  EXPECT_TRUE(comesTrue([&] { return watched.expired(); }));
  EXPECT_THAT(object_.events(), ElementsAre(removalOf("a"), "other ended"));
}

TEST_F(ClientSessionTest, TheProxyQueuesALineThatCanTravel) {
  const auto proxy = connection_->remoteObjectProxy();
  ASSERT_NE(proxy, nullptr);
  proxy->logWithStdOut(std::string("a\0b", 3));
  const auto item = session().outgoing().pop();
  ASSERT_TRUE(item);
  EXPECT_EQ(std::get<LogLine>(*item).text, "a\u2400b");
}

TEST_F(ClientSessionTest, TheProxyDoesNotKeepTheConnectionAndIsSilentOnceItHasGone) {
  auto other = std::make_shared<BusConnection>(bell_, session().peer(), shares_);
  other->setRemoteObjectInterface(app_protocol::interface);
  const auto proxy = other->remoteObjectProxy();
  const std::weak_ptr<Connection> watched = other;
  other.reset();
  EXPECT_TRUE(watched.expired());
  proxy->logWithStdOut("nobody hears it");
}

TEST_F(ClientSessionTest, ThereIsNoProxyForAnotherProtocolThanTheApplications) {
  connection_->setRemoteObjectInterface(helper_protocol::interface);
  EXPECT_EQ(connection_->remoteObjectProxy(), nullptr);
}

TEST_F(ClientSessionTest, ACallForWhichThereIsNoObjectLeavesItsReplyMissing) {
  connection_->setExportedObject(nullptr);
  connection_->deliver({helper_protocol::getVersion, {}}, std::make_shared<ReplyBlock>(connection_, RequestId{1, 2}));
  std::optional<Outgoing> item;
  ASSERT_TRUE(comesTrue([&] { return (item = session().outgoing().pop()).has_value(); }));
  EXPECT_TRUE(std::holds_alternative<MissingReply>(*item));
}

}  // namespace
}  // namespace wicket::linux_adapter
