// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>
#include <string>

#include "protocol/AppProtocol.h"
#include "protocol/HelperProtocol.h"
#include "wire/BusNames.h"

namespace wicket::wire {
namespace {

using namespace std::string_literals;

TEST(BusNamesTest, TheSocketBearsTheHelpersIdentifier) {
  EXPECT_STREQ(socketPath, "/run/net.orvane.Wicket.TlvPrivilegedHelper");
}

TEST(BusNamesTest, AMemberIsTheSelectorWithItsColonsWrittenAsUnderscores) {
  EXPECT_EQ(memberName(helper_protocol::getVersion), "getVersionWithCompletion_");
  EXPECT_EQ(memberName(helper_protocol::runCommand), "runCommandWithFilename_arguments_completion_");
  EXPECT_EQ(memberName(helper_protocol::installScript), "installScriptAt_authData_completion_");
  EXPECT_EQ(memberName(helper_protocol::uninstall), "uninstallWithAll_");
  EXPECT_EQ(memberName(helper_protocol::uninstallScriptAt), "uninstallScriptAt_completion_");
  EXPECT_EQ(memberName(helper_protocol::uninstallScriptWithFilename), "uninstallScriptWithFilename_completion_");
  EXPECT_EQ(memberName(app_protocol::logWithStdOut), "logWithStdOut_");
}

TEST(BusNamesTest, NoSelectorContainsAnUnderscoreSoThatAMemberNamesExactlyOne) {
  for (const Selector& selector : helper_protocol::interface.selectors) {
    EXPECT_EQ(selector.text.find('_'), std::string_view::npos) << selector.text;
  }
  EXPECT_EQ(app_protocol::logWithStdOut.text.find('_'), std::string_view::npos);
}

TEST(BusNamesTest, TheInterfacesBearTheNamesOfTheProtocols) {
  EXPECT_EQ(helperInterface, "net.orvane.Wicket." + std::string(helper_protocol::interface.name));
  EXPECT_EQ(appInterface, "net.orvane.Wicket." + std::string(app_protocol::interface.name));
}

TEST(BusNamesTest, ASignatureListsTheTypesInOrder) {
  EXPECT_EQ(signature(helper_protocol::getVersion.arguments), "");
  EXPECT_EQ(signature(helper_protocol::getVersion.reply), "s");
  EXPECT_EQ(signature(helper_protocol::runCommand.arguments), "sas");
  EXPECT_EQ(signature(helper_protocol::runCommand.reply), "x");
  EXPECT_EQ(signature(helper_protocol::installScript.arguments), "say");
  EXPECT_EQ(signature(helper_protocol::uninstall.arguments), "y");
  EXPECT_EQ(signature(helper_protocol::uninstall.reply), "");
}

TEST(BusNamesTest, OrdinaryTextTravelsAsItIs) {
  for (const std::string& text : {""s, "Done.\n\ttwice \x7F"s, "Gr\u00FC\u00DFe \u20AC \U0001F600"s,
                                  "\uFDCF\uFDF0\uFFFD \U0001FFFD\U00020000\U0010FFFD \uD7FF\uE000"s}) {
    EXPECT_EQ(travellingText(text), text);
  }
}

TEST(BusNamesTest, ANullCharacterTravelsAsItsSymbol) {
  EXPECT_EQ(travellingText("a\0\0b"s), "a\u2400\u2400b");
  EXPECT_EQ(travellingText("\0"s), "\u2400");
}

TEST(BusNamesTest, ANoncharacterTravelsAsTheReplacementCharacter) {
  for (const std::string& noncharacter :
       {"\xEF\xB7\x90"s, "\xEF\xB7\xAF"s, "\xEF\xBF\xBE"s, "\xEF\xBF\xBF"s, "\xF0\x9F\xBF\xBE"s, "\xF0\x9F\xBF\xBF"s,
        "\xF4\x8F\xBF\xBE"s, "\xF4\x8F\xBF\xBF"s}) {
    EXPECT_EQ(travellingText("<" + noncharacter + ">"), "<\uFFFD>");
  }
}

}  // namespace
}  // namespace wicket::wire
