// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/contract/RealListener.h"
#include "wire/ReplyBlock.h"

namespace wicket::contract {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using testing::ElementsAre;

class BusConnectionReplyTest : public RealListener {
 protected:
  OnCode waitingForTheGate() {
    return [this](const HelperProtocol::CodeCompletion& completion) {
      gate_.pass();
      completion(0);
    };
  }
};

TEST_F(BusConnectionReplyTest, ASecondCallOfACompletionIsASignalWithTheSerialOfTheRequest) {
  std::promise<HelperProtocol::CodeCompletion> kept;
  const auto answers = answerBy([&](const HelperProtocol::CodeCompletion& completion) {
    completion(reply_code::success);
    kept.set_value(completion);
  });
  const auto client = connect();
  (void)client->await(client->startVersion());
  const auto serial = client->startRun("script");
  EXPECT_EQ(client->awaitCode(serial), reply_code::success);
  EXPECT_TRUE(client->laterReports(serial).empty());

  std::thread([completion = kept.get_future().get()] { completion(-7); }).join();
  EXPECT_EQ(client->awaitExit(serial), -7);
}

TEST_F(BusConnectionReplyTest, EveryFurtherCallOfACompletionIsOneMoreSignalAndNeverAReply) {
  object_.onCode = [](const HelperProtocol::CodeCompletion& completion) {
    for (const ReplyCode code : {0, 3, 4}) completion(code);
  };
  const auto client = connect();
  const auto serial = client->startRun("script");
  EXPECT_EQ(client->awaitCode(serial), 0);
  EXPECT_TRUE(client->pumpUntil([&] { return client->laterReports(serial).size() == 2; }));
  EXPECT_EQ(client->laterReports(serial).at(0).value, 3);
  EXPECT_EQ(client->laterReports(serial).at(1).value, 4);
}

TEST_F(BusConnectionReplyTest, ACompletionThatIsDroppedUncalledAnswersWithAnError) {
  object_.onCode = [](const HelperProtocol::CodeCompletion&) {};
  const auto client = connect();
  const auto reply = client->await(client->startRun("script"));
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->error, wire::noReplyError);
}

TEST_F(BusConnectionReplyTest, ACallThatThrowsAnswersWithAnErrorAndTheConnectionGoesOn) {
  object_.onCode = [](const HelperProtocol::CodeCompletion&) { throw std::runtime_error("unforeseen"); };
  const auto client = connect();
  const auto reply = client->await(client->startRun("script"));
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->error, wire::noReplyError);
  const auto version = client->await(client->startVersion());
  ASSERT_TRUE(version);
  EXPECT_EQ(version->text, "1");
}

TEST_F(BusConnectionReplyTest, ARequestThatExpectsNoReplyGetsNone) {
  const auto client = connect();
  ASSERT_TRUE(client->uninstall(1));
  const auto version = client->await(client->startVersion());
  ASSERT_TRUE(version);
  EXPECT_EQ(version->text, "1");
  EXPECT_THAT(object_.events(), ElementsAre("uninstall all", "getVersion"));
}

TEST_F(BusConnectionReplyTest, AOneWayCallIsAnsweredOnceItHasReturnedIfTheClientAsksForIt) {
  object_.onUninstall = [this] {
    std::this_thread::sleep_for(50ms);
    object_.record("returned");
  };
  const auto client = connect();
  const auto reply = client->await(client->start(
      "uninstallWithAll_", [](sd_bus_message* message) { return sd_bus_message_append(message, "y", 0); }));
  ASSERT_TRUE(reply);
  EXPECT_THAT(reply->error, testing::Not(testing::HasSubstr(".Error.")));
  EXPECT_THAT(object_.events(), ElementsAre("uninstall", "returned"));
}

TEST_F(BusConnectionReplyTest, RepliesSignalsAndLinesArriveInTheOrderTheyWereProduced) {
  std::shared_ptr<AppProtocol> proxy;
  const auto answers = answerBy([&](const HelperProtocol::CodeCompletion& completion) {
    proxy->logWithStdOut("one");
    completion(0);
    proxy->logWithStdOut("two");
    completion(7);
    proxy->logWithStdOut("three");
  });
  const auto client = connect();
  (void)client->await(client->startVersion());
  proxy = delegate_.await(0)->remoteObjectProxy();
  std::vector<std::string> order;
  client->setLogSink([&](std::string_view text) { order.emplace_back(text); });
  const auto serial = client->startRun("script");
  while (order.size() < 5) {
    const std::size_t lines = order.size();
    const bool hadReply = client->hasReply(serial);
    const bool hadReport = !client->laterReports(serial).empty();
    ASSERT_TRUE(client->pumpUntil([&] {
      return order.size() != lines || client->hasReply(serial) != hadReply ||
             client->laterReports(serial).empty() == hadReport;
    }));
    if (client->hasReply(serial) != hadReply) order.emplace_back("reply");
    if (client->laterReports(serial).empty() == hadReport) order.emplace_back("called again");
  }
  EXPECT_THAT(order, ElementsAre("one", "reply", "two", "called again", "three"));
}

TEST_F(BusConnectionReplyTest, ACallThatBlocksHoldsUpNeitherOtherClientsNorItsOwnLines) {
  object_.onCode = waitingForTheGate();
  const auto client = connect();
  const auto serial = client->startRun("script");
  ASSERT_TRUE(client->flush());
  ASSERT_THAT(object_.awaitEvents(1), ElementsAre("runCommand script"));
  ASSERT_TRUE(answersOthers());
  delegate_.await(0)->remoteObjectProxy()->logWithStdOut("meanwhile");
  ASSERT_TRUE(client->awaitLog("meanwhile"));
  EXPECT_FALSE(client->hasReply(serial));
  gate_.open();
  EXPECT_EQ(client->awaitCode(serial), 0);
}

TEST_F(BusConnectionReplyTest, AnInvalidationCutsTheClientAtOnceWhileItsCallGoesOn) {
  object_.onCode = [this](const HelperProtocol::CodeCompletion& completion) {
    gate_.pass();
    completion(0);
    object_.record("returned");
  };
  const auto client = connect();
  (void)client->startRun("script");
  ASSERT_TRUE(client->flush());
  ASSERT_THAT(object_.awaitEvents(1), ElementsAre("runCommand script"));
  delegate_.await(0)->invalidate();
  EXPECT_TRUE(client->awaitClosed());
  EXPECT_THAT(object_.events(), ElementsAre("runCommand script"));
  gate_.open();
  EXPECT_THAT(object_.awaitEvents(3), ElementsAre("runCommand script", "returned", "invalidated"));
}

TEST_F(BusConnectionReplyTest, ACallThatWaitsBehindARunningOneIsNotDeliveredAfterAnInvalidation) {
  object_.onCode = waitingForTheGate();
  const auto client = connect();
  (void)client->startRun("first");
  (void)client->startRun("second");
  ASSERT_TRUE(client->flush());
  ASSERT_THAT(object_.awaitEvents(1), ElementsAre("runCommand first"));
  const auto later = connectAndGreet();
  delegate_.await(0)->invalidate();
  gate_.open();
  EXPECT_THAT(object_.awaitEvents(2), ElementsAre("runCommand first", "invalidated"));
}

TEST_F(BusConnectionReplyTest, CallsThatWaitBehindARunningOneAreDeliveredAfterTheClientHasClosed) {
  object_.onCode = waitingForTheGate();
  auto client = connect();
  (void)client->startRun("first");
  (void)client->startRun("second");
  ASSERT_TRUE(client->flush());
  ASSERT_THAT(object_.awaitEvents(1), ElementsAre("runCommand first"));
  client.reset();
  const auto later = connectAndGreet();
  gate_.open();
  EXPECT_THAT(object_.awaitEvents(3), ElementsAre("runCommand first", "runCommand second", "invalidated"));
}

TEST_F(BusConnectionReplyTest, ACompletionMayOutliveItsConnection) {
  std::promise<HelperProtocol::CodeCompletion> kept;
  const auto answers = answerBy([&](const HelperProtocol::CodeCompletion& completion) { kept.set_value(completion); });
  auto client = connect();
  (void)client->startRun("script");
  ASSERT_TRUE(client->flush());
  const auto completion = kept.get_future().get();
  client.reset();
  EXPECT_THAT(object_.awaitEvents(2), ElementsAre("runCommand script", "invalidated"));
  listener_.reset();
  completion(0);
  completion(1);
}

}  // namespace
}  // namespace wicket::contract
