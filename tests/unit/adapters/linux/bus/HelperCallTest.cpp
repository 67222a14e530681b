// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "adapters/linux/bus/HelperCall.h"
#include "protocol/HelperProtocol.h"
#include "tests/doubles/RecordingHelperObject.h"

namespace wicket::linux_adapter {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Strings = std::vector<std::string>;

/// Writes down what it is given, in words.
class RecordingSink : public OutgoingSink {
 public:
  void send(Outgoing item) noexcept override {
    std::visit([this](const auto& one) { keep(one); }, item);
  }
  void cut() override { items.emplace_back("cut"); }

  Strings items;

 private:
  static std::string of(RequestId request) {
    return std::to_string(request.number) + "/" + std::to_string(request.serial);
  }
  void keep(const MethodReply& reply) {
    std::string value = "nothing";
    if (const auto* text = std::get_if<std::string>(&reply.value)) value = "\"" + *text + "\"";
    if (const auto* code = std::get_if<ReplyCode>(&reply.value)) value = std::to_string(*code);
    items.push_back(of(reply.request) + " replied " + value);
  }
  void keep(const MissingReply& missing) { items.push_back(of(missing.request) + " is missing"); }
  void keep(const LimitReached& reached) { items.push_back(of(reached.request) + " " + reached.limit->error); }
  void keep(const CalledAgain& again) { items.push_back(of(again.request) + " again " + std::to_string(again.code)); }
  void keep(const LogLine& line) { items.push_back("line " + line.text); }
};

class HelperCallTest : public testing::Test {
 protected:
  [[nodiscard]] std::shared_ptr<ReplyBlock> block() const { return std::make_shared<ReplyBlock>(sink_, request); }
  void perform(const HelperCall& call) { call.perform(object_, block()); }

  static constexpr RequestId request{5, 9};
  std::shared_ptr<RecordingSink> sink_ = std::make_shared<RecordingSink>();
  doubles::RecordingHelperObject object_;
};

TEST_F(HelperCallTest, TheFirstCallOfABlockIsTheReplyAndTheNextAreSignals) {
  const auto called = block();
  called->call(ReplyCode{0});
  called->call(ReplyCode{3});
  called->call(ReplyCode{4});
  EXPECT_THAT(sink_->items, ElementsAre("5/9 replied 0", "5/9 again 3", "5/9 again 4"));
}

TEST_F(HelperCallTest, OnlyACodeCanBeCalledAgain) {
  const auto called = block();
  called->call(std::string("one"));
  called->call(std::string("two"));
  called->call(std::monostate{});
  EXPECT_THAT(sink_->items, ElementsAre("5/9 replied \"one\""));
}

TEST_F(HelperCallTest, ABlockThatTheLastOwnerLetsGoOfUncalledIsAMissingReply) {
  auto uncalled = block();
  auto copy = uncalled;
  uncalled.reset();
  EXPECT_THAT(sink_->items, IsEmpty()) << "somebody still has it";
  copy.reset();
  EXPECT_THAT(sink_->items, ElementsAre("5/9 is missing"));
}

TEST_F(HelperCallTest, ACalledBlockMissesNothingWhenItIsLetGoOf) {
  block()->call(std::monostate{});
  EXPECT_THAT(sink_->items, ElementsAre("5/9 replied nothing"));
}

TEST_F(HelperCallTest, ARefusalTakesThePlaceOfTheFirstCallAndOfNoOther) {
  block()->refuse(wire::openQuestions);
  EXPECT_THAT(sink_->items, ElementsAre("5/9 net.orvane.Wicket.Error.TooManyQuestions"));
  const auto called = block();
  called->call(ReplyCode{0});
  called->refuse(wire::openQuestions);
  EXPECT_EQ(sink_->items.size(), 2U);
}

TEST_F(HelperCallTest, ABlockDoesNotKeepItsClientAndIsSilentOnceItHasGone) {
  const std::weak_ptr<RecordingSink> watched = sink_;
  const auto called = block();
  sink_.reset();
  EXPECT_TRUE(watched.expired());
  called->call(ReplyCode{0});
  called->call(ReplyCode{1});
}

TEST_F(HelperCallTest, EveryOperationOfTheProtocolReachesTheObjectWithItsArguments) {
  const std::vector<std::byte> data(3);
  perform({helper_protocol::getVersion, {}});
  perform({helper_protocol::runCommand, {"name", Strings{"a", "b"}}});
  perform({helper_protocol::installScript, {"from,to", HelperProtocol::AuthorizationData(data)}});
  perform({helper_protocol::installScript, {"from,to", HelperProtocol::AuthorizationData()}});
  perform({helper_protocol::uninstall, {true}});
  perform({helper_protocol::uninstall, {false}});
  perform({helper_protocol::uninstallScriptAt, {"path"}});
  perform({helper_protocol::uninstallScriptWithFilename, {"file"}});
  EXPECT_THAT(object_.events(), ElementsAre("getVersion", "runCommand name [a] [b]", "installScript from,to data 3",
                                            "installScript from,to no data", "uninstall all", "uninstall",
                                            "uninstallScriptAt path", "uninstallScriptWithFilename file"));
  EXPECT_THAT(sink_->items,
              ElementsAre("5/9 replied \"1\"", "5/9 replied 0", "5/9 replied 0", "5/9 replied 0", "5/9 replied nothing",
                          "5/9 replied nothing", "5/9 replied 0", "5/9 replied 0"));
}

TEST_F(HelperCallTest, NoOperationIsForgotten) {
  for (const Selector& selector : helper_protocol::interface.selectors) {
    HelperCall call{selector, {}};
    for (const ArgumentType type : selector.arguments) {
      if (type == ArgumentType::string) call.arguments.emplace_back("text");
      if (type == ArgumentType::stringArray) call.arguments.emplace_back(Strings{});
      if (type == ArgumentType::data) call.arguments.emplace_back(HelperProtocol::AuthorizationData());
      if (type == ArgumentType::boolean) call.arguments.emplace_back(false);
    }
    const std::size_t before = object_.events().size();
    perform(call);
    EXPECT_EQ(object_.events().size(), before + 1) << selector.text;
  }
}

TEST_F(HelperCallTest, AClientThatWantsNoReplyGetsNone) {
  HelperCall{helper_protocol::getVersion, {}}.perform(object_, nullptr);
  HelperCall{helper_protocol::uninstall, {true}}.perform(object_, nullptr);
  HelperCall{helper_protocol::uninstallScriptAt, {"path"}}.perform(object_, nullptr);
  EXPECT_EQ(object_.events().size(), 3U);
  EXPECT_THAT(sink_->items, IsEmpty());
}

TEST_F(HelperCallTest, AOneWayOperationRepliesOnlyOnceItHasReturned) {
  Strings seen{"not called"};
  object_.onUninstall = [&] { seen = sink_->items; };
  perform({helper_protocol::uninstall, {true}});
  EXPECT_THAT(seen, IsEmpty());
  EXPECT_EQ(sink_->items.size(), 1U);
}

TEST_F(HelperCallTest, WhatIsNoOperationCallsNothingAndItsReplyIsMissing) {
  perform({Selector{"format:", {}, {}}, {}});
  EXPECT_THAT(object_.events(), IsEmpty());
  EXPECT_THAT(sink_->items, ElementsAre("5/9 is missing"));
}

TEST_F(HelperCallTest, RunsAndInstallationsTakeAShareOfTheirUserAndNothingElseDoes) {
  for (const Selector& selector : helper_protocol::interface.selectors) {
    const wire::UserLimit* expected = nullptr;
    if (selector == helper_protocol::runCommand) expected = &wire::runningScripts;
    if (selector == helper_protocol::installScript) expected = &wire::openQuestions;
    EXPECT_EQ((HelperCall{selector, {}}.limit()), expected) << selector.text;
  }
  EXPECT_EQ((HelperCall{Selector{"format:", {}, {}}, {}}.limit()), nullptr);
}

TEST_F(HelperCallTest, TheSizeGrowsWithWhateverTheArgumentsHold) {
  const auto sizeWith = [](Argument argument) {
    return HelperCall{helper_protocol::runCommand, {std::move(argument)}}.size();
  };
  const std::size_t nothing = HelperCall{helper_protocol::runCommand, {}}.size();
  EXPECT_EQ(nothing, 0U);
  const std::size_t least = sizeWith("");
  EXPECT_GT(least, nothing) << "an argument takes memory, however little it says";
  EXPECT_EQ(sizeWith(true), least);
  EXPECT_EQ(sizeWith(HelperProtocol::AuthorizationData()), least);
  EXPECT_EQ(sizeWith(std::string(1000, 'x')), least + 1000);
  EXPECT_EQ(sizeWith(HelperProtocol::AuthorizationData(std::in_place, 1000)), least + 1000);
  EXPECT_GE(sizeWith(Strings(1000)), least + 1000 * sizeof(std::string)) << "strings that are empty take memory, too";
  EXPECT_EQ(sizeWith(Strings{std::string(1000, 'x')}), sizeWith(Strings{""}) + 1000);
}

}  // namespace
}  // namespace wicket::linux_adapter
