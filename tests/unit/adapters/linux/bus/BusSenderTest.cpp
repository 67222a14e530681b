// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <cstdint>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "adapters/linux/bus/BusSender.h"
#include "tests/unit/adapters/linux/bus/BusPair.h"
#include "wire/ReplyBlock.h"

namespace wicket::linux_adapter {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class BusSenderTest : public testing::Test {
 protected:
  /// A call of the client that waits for its reply.
  RequestId ask() {
    const auto call = pair_.newCall("anything");
    pair_.start(call);
    const std::size_t before = requests_.size();
    EXPECT_TRUE(pair_.processUntil([&] { return requests_.size() > before; }));
    std::uint64_t serial = 0;
    EXPECT_GE(sd_bus_message_get_cookie(call.get(), &serial), 0);
    EXPECT_EQ(requests_.back().serial, serial);
    return requests_.back();
  }
  int send(const Outgoing& item) { return sender_.send(pair_.server().get(), item); }
  std::string textOfReply(std::size_t index) {
    const char* text = nullptr;
    return sd_bus_message_read(pair_.awaitReply(index).get(), "s", &text) > 0 ? text : "no text";
  }
  std::string errorOfReply(std::size_t index) { return BusPair::errorOf(pair_.awaitReply(index)); }
  /// What the client has got besides replies, until it has had that many.
  std::vector<std::string> awaitOthers(std::size_t count) {
    EXPECT_GE(sd_bus_add_filter(pair_.client(), nullptr, &otherArrived, &others_), 0);
    EXPECT_TRUE(pair_.processUntil([&] { return others_.size() >= count; }));
    return others_;
  }

  std::vector<RequestId> requests_;
  std::vector<std::string> others_;
  BusSender sender_;
  BusPair pair_{&asked, this};

 private:
  static int asked(sd_bus_message* message, void* test, sd_bus_error* /*error*/) {
    auto& self = *static_cast<BusSenderTest*>(test);
    self.requests_.push_back(self.sender_.remember(message));
    return 1;
  }
  static int otherArrived(sd_bus_message* message, void* others, sd_bus_error* /*error*/) {
    auto& list = *static_cast<std::vector<std::string>*>(others);
    const char* text = nullptr;
    std::uint32_t serial = 0;
    std::int64_t value = 0;
    if (sd_bus_message_is_method_call(message, "net.orvane.Wicket.AppProtocol", "logWithStdOut_") > 0) {
      if (sd_bus_message_read(message, "s", &text) > 0) list.push_back("line " + std::string(text));
    } else if (sd_bus_message_is_signal(message, wire::replyBlockInterface, wire::replyBlockSignal) > 0) {
      if (sd_bus_message_read(message, "ux", &serial, &value) > 0) {
        list.push_back("again " + std::to_string(serial) + " " + std::to_string(value));
      }
    }
    return 0;
  }
};

TEST_F(BusSenderTest, RepliesReachTheirRequestsInWhateverOrderTheyAreMade) {
  const RequestId first = ask();
  const RequestId second = ask();
  EXPECT_GE(send(MethodReply{second, std::string("two")}), 0);
  EXPECT_GE(send(MethodReply{first, ReplyCode{-7}}), 0);
  EXPECT_EQ(textOfReply(0), "two");
  std::int64_t code = 0;
  EXPECT_GT(sd_bus_message_read(pair_.awaitReply(1).get(), "x", &code), 0);
  EXPECT_EQ(code, -7);
  std::uint64_t serial = 0;
  EXPECT_GE(sd_bus_message_get_reply_cookie(pair_.awaitReply(0).get(), &serial), 0);
  EXPECT_EQ(serial, second.serial);
}

TEST_F(BusSenderTest, AReplyThatCarriesNothingIsAReply) {
  EXPECT_GE(send(MethodReply{ask(), std::monostate{}}), 0);
  EXPECT_EQ(errorOfReply(0), "");
  EXPECT_EQ(sd_bus_message_is_empty(pair_.awaitReply(0).get()), 1);
}

TEST_F(BusSenderTest, AMissingReplyAndALimitAreErrorsOfTheirOwn) {
  EXPECT_GE(send(MissingReply{ask()}), 0);
  EXPECT_GE(send(LimitReached{ask(), &wire::runningScripts}), 0);
  EXPECT_EQ(errorOfReply(0), "net.orvane.Wicket.Error.NoReply");
  EXPECT_EQ(errorOfReply(1), "net.orvane.Wicket.Error.TooManyScripts");
  EXPECT_STREQ(sd_bus_message_get_error(pair_.awaitReply(1).get())->message, wire::runningScripts.text);
}

TEST_F(BusSenderTest, ARequestIsAnsweredOnce) {
  EXPECT_FALSE(sender_.hasBeenAsked());
  const RequestId request = ask();
  EXPECT_TRUE(sender_.hasBeenAsked());
  EXPECT_FALSE(sender_.hasAnsweredAll());
  EXPECT_GE(send(MethodReply{request, std::string("one")}), 0);
  EXPECT_TRUE(sender_.hasAnsweredAll());
  EXPECT_EQ(send(MethodReply{request, std::string("two")}), 0);
  EXPECT_EQ(send(MissingReply{request}), 0);
  EXPECT_GE(send(LogLine{"end"}), 0);
  EXPECT_EQ(awaitOthers(1).size(), 1U);
  EXPECT_EQ(pair_.replyCount(), 1U);
  EXPECT_TRUE(sender_.hasBeenAsked()) << "that it was asked is not forgotten";
}

TEST_F(BusSenderTest, RequestsThatAreForgottenAreAnsweredNoMore) {
  const RequestId request = ask();
  sender_.forgetAll();
  EXPECT_TRUE(sender_.hasAnsweredAll());
  EXPECT_EQ(send(MethodReply{request, std::string("late")}), 0);
  EXPECT_EQ(send(LimitReached{request, &wire::runningScripts}), 0);
  EXPECT_GE(send(LogLine{"end"}), 0);
  EXPECT_EQ(awaitOthers(1).size(), 1U);
  EXPECT_EQ(pair_.replyCount(), 0U);
}

TEST_F(BusSenderTest, LinesAndLaterCallsOfABlockArriveInTheirOrder) {
  EXPECT_GE(send(LogLine{"one"}), 0);
  EXPECT_GE(send(CalledAgain{{1, 4'000'000'000U}, -15}), 0);
  EXPECT_GE(send(LogLine{""}), 0);
  EXPECT_THAT(awaitOthers(3), ElementsAre("line one", "again 4000000000 -15", "line "));
}

TEST_F(BusSenderTest, ALineThatIsNotUtf8IsLeftOutAndTheNextArrives) {
  EXPECT_EQ(send(LogLine{"\xFF"}), 0);
  EXPECT_GE(send(LogLine{"next"}), 0);
  EXPECT_THAT(awaitOthers(1), ElementsAre("line next"));
}

TEST_F(BusSenderTest, ATextThatCannotTravelAsItIsIsStillAReply) {
  EXPECT_GE(send(MethodReply{ask(), std::string("7\0\xFF", 3)}), 0);
  EXPECT_EQ(textOfReply(0), "7\u2400\uFFFD");
}

TEST_F(BusSenderTest, ABusThatHasClosedIsAnError) {
  ASSERT_TRUE(pair_.processUntil([&] { return pair_.server().isReady(); }));
  sd_bus_close(pair_.server().get());
  EXPECT_LT(send(LogLine{"lost"}), 0);
}

}  // namespace
}  // namespace wicket::linux_adapter
