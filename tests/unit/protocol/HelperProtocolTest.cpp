// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string_view>
#include <vector>

#include "protocol/HelperProtocol.h"

namespace wicket {
namespace {

using testing::ElementsAre;

std::vector<ArgumentType> list(std::span<const ArgumentType> types) { return {types.begin(), types.end()}; }

TEST(HelperProtocolTest, ItsSixOperationsStandInTheOrderOfTheirDeclaration) {
  std::vector<std::string_view> texts;
  for (const Selector& selector : helper_protocol::interface.selectors) texts.push_back(selector.text);
  EXPECT_THAT(texts, ElementsAre("getVersionWithCompletion:", "runCommandWithFilename:arguments:completion:",
                                 "installScriptAt:authData:completion:", "uninstallWithAll:",
                                 "uninstallScriptAt:completion:", "uninstallScriptWithFilename:completion:"));
  EXPECT_EQ(helper_protocol::interface.name, "HelperProtocol");
}

TEST(HelperProtocolTest, TheArgumentsOfEachOperationHaveTheirTypes) {
  EXPECT_THAT(list(helper_protocol::getVersion.arguments), ElementsAre());
  EXPECT_THAT(list(helper_protocol::runCommand.arguments),
              ElementsAre(ArgumentType::string, ArgumentType::stringArray));
  EXPECT_THAT(list(helper_protocol::installScript.arguments), ElementsAre(ArgumentType::string, ArgumentType::data));
  EXPECT_THAT(list(helper_protocol::uninstall.arguments), ElementsAre(ArgumentType::boolean));
  EXPECT_THAT(list(helper_protocol::uninstallScriptAt.arguments), ElementsAre(ArgumentType::string));
  EXPECT_THAT(list(helper_protocol::uninstallScriptWithFilename.arguments), ElementsAre(ArgumentType::string));
}

TEST(HelperProtocolTest, TheVersionIsAnsweredWithAStringAndTheOthersWithASignedInteger) {
  EXPECT_THAT(list(helper_protocol::getVersion.reply), ElementsAre(ArgumentType::string));
  EXPECT_THAT(list(helper_protocol::runCommand.reply), ElementsAre(ArgumentType::signedInteger));
  EXPECT_THAT(list(helper_protocol::installScript.reply), ElementsAre(ArgumentType::signedInteger));
  EXPECT_THAT(list(helper_protocol::uninstallScriptAt.reply), ElementsAre(ArgumentType::signedInteger));
  EXPECT_THAT(list(helper_protocol::uninstallScriptWithFilename.reply), ElementsAre(ArgumentType::signedInteger));
}

TEST(HelperProtocolTest, OnlyTheRemovalOfTheHelperIsOneWay) {
  std::vector<std::string_view> oneWay;
  for (const Selector& selector : helper_protocol::interface.selectors) {
    if (selector.isOneWay()) oneWay.push_back(selector.text);
  }
  EXPECT_THAT(oneWay, ElementsAre("uninstallWithAll:"));
}

TEST(HelperProtocolTest, SelectorsAreEqualExactlyWhenTheirTextsAre) {
  EXPECT_EQ(helper_protocol::installScript, (Selector{"installScriptAt:authData:completion:", {}, {}}));
  EXPECT_NE(helper_protocol::uninstallScriptAt, helper_protocol::uninstallScriptWithFilename);
}

}  // namespace
}  // namespace wicket
