// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "adapters/linux/bus/BusVtable.h"
#include "protocol/HelperProtocol.h"
#include "tests/unit/adapters/linux/bus/BusPair.h"
#include "wire/BusNames.h"
#include "wire/ReplyBlock.h"

namespace wicket::linux_adapter {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class BusVtableTest : public testing::Test {
 protected:
  /// Writes down the member and answers with nothing, whatever its result should be.
  static int called(sd_bus_message* message, void* members, sd_bus_error* /*error*/) {
    static_cast<std::vector<std::string>*>(members)->emplace_back(sd_bus_message_get_member(message));
    return sd_bus_reply_method_errorf(message, "net.orvane.Test.Done", "Done.");
  }
  /// The table is where a channel has it, too: moved after it was made.
  int serve(BusVtable table) {
    table_ = std::move(table);
    return table_->addTo(pair_.server().get(), &members_);
  }
  /// The error of the reply to a call without arguments.
  std::string callWithoutArguments(const std::string& member) {
    pair_.start(pair_.newCall(member));
    return BusPair::errorOf(pair_.awaitReply(pair_.replyCount()));
  }
  std::string introspection() {
    pair_.start(pair_.newCall("Introspect", "org.freedesktop.DBus.Introspectable"));
    const char* text = nullptr;
    EXPECT_GT(sd_bus_message_read(pair_.awaitReply(pair_.replyCount()).get(), "s", &text), 0);
    return text == nullptr ? "" : text;
  }

  std::vector<std::string> members_;
  std::optional<BusVtable> table_;  ///< outlives the bus
  BusPair pair_;
};

TEST_F(BusVtableTest, ACallReachesTheHandlerWithItsUserData) {
  ASSERT_GE(serve(BusVtable::ofMethods(helper_protocol::interface, &called)), 0);
  EXPECT_EQ(callWithoutArguments("getVersionWithCompletion_"), "net.orvane.Test.Done");
  EXPECT_THAT(members_, ElementsAre("getVersionWithCompletion_"));
}

TEST_F(BusVtableTest, WrongArgumentsDoNotReachTheHandler) {
  ASSERT_GE(serve(BusVtable::ofMethods(helper_protocol::interface, &called)), 0);
  for (const Selector& selector : helper_protocol::interface.selectors) {
    if (selector.arguments.empty()) continue;
    EXPECT_EQ(callWithoutArguments(wire::memberName(selector)), SD_BUS_ERROR_INVALID_ARGS) << selector.text;
  }
  EXPECT_THAT(members_, IsEmpty());
}

TEST_F(BusVtableTest, WhatTheInterfaceDoesNotNameIsUnknown) {
  ASSERT_GE(serve(BusVtable::ofMethods(helper_protocol::interface, &called)), 0);
  EXPECT_EQ(callWithoutArguments("getVersion"), SD_BUS_ERROR_UNKNOWN_METHOD);
  EXPECT_THAT(members_, IsEmpty());
}

TEST_F(BusVtableTest, EveryMemberIsIntrospectedWithItsTypes) {
  ASSERT_GE(serve(BusVtable::ofMethods(helper_protocol::interface, &called)), 0);
  const std::string text = introspection();
  EXPECT_THAT(text, HasSubstr("<interface name=\"net.orvane.Wicket.HelperProtocol\">"));
  for (const Selector& selector : helper_protocol::interface.selectors) {
    EXPECT_THAT(text, HasSubstr("<method name=\"" + wire::memberName(selector) + "\">"));
  }
  const auto start = text.find("<method name=\"installScriptAt_authData_completion_\">");
  const std::string install = text.substr(start, text.find("</method>", start) - start);
  EXPECT_THAT(install, HasSubstr("type=\"s\" direction=\"in\""));
  EXPECT_THAT(install, HasSubstr("type=\"ay\" direction=\"in\""));
  EXPECT_THAT(install, HasSubstr("type=\"x\" direction=\"out\""));
}

TEST_F(BusVtableTest, TheSignalIsIntrospectedWithTheNamesOfItsValues) {
  ASSERT_GE(serve(BusVtable::ofReplyBlockSignal()), 0);
  const std::string text = introspection();
  EXPECT_THAT(text, HasSubstr("<interface name=\"net.orvane.Wicket.ReplyBlock\">"));
  EXPECT_THAT(text, HasSubstr("<signal name=\"CalledAgain\">"));
  EXPECT_THAT(text, HasSubstr("<arg type=\"u\" name=\"serial\"/>"));
  EXPECT_THAT(text, HasSubstr("<arg type=\"x\" name=\"value\"/>"));
}

}  // namespace
}  // namespace wicket::linux_adapter
