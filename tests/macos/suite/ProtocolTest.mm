// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#import <Foundation/Foundation.h>
#include <map>

#include "adapters/macos/AppProtocol.h"
#include "adapters/macos/HelperProtocol.h"
#include "protocol/AppProtocol.h"
#include "protocol/HelperProtocol.h"
#include "tests/macos/runtime/Classes.h"
#include "tests/macos/suite/FrameworkTest.h"

namespace wicket::suite {
namespace {

using testing::ElementsAre;
using testing::Pair;

/// What XPC reads from a protocol: each selector with its types, blocks' signatures included.
std::vector<std::pair<std::string, std::string>> messages(Protocol* protocol) {
  const auto& read = *reinterpret_cast<const objc::Protocol*>((__bridge const void*)protocol);
  std::vector<std::pair<std::string, std::string>> result;
  const auto methods = objc::requiredMethods(read);
  for (std::size_t i = 0; i < methods.size(); ++i) {
    result.emplace_back(methods[i].name, objc::extendedTypes(read, i));
  }
  return result;
}

std::vector<std::string> selectors(const Interface& interface) {
  std::vector<std::string> result;
  for (const Selector& selector : interface.selectors) result.emplace_back(selector.text);
  return result;
}

std::vector<std::string> selectors(Protocol* protocol) {
  std::vector<std::string> result;
  for (const auto& [selector, types] : messages(protocol)) result.push_back(selector);
  return result;
}

TEST(ProtocolTest, TheHelpersProtocolHasItsSixMessagesWithTheTypesThatTravel) {
  // As for macOS on x86_64, where BOOL is a signed byte.
  EXPECT_THAT(messages(@protocol(HelperProtocol)),
              ElementsAre(Pair("getVersionWithCompletion:", "v24@0:8@?<v@?@\"NSString\">16"),
                          Pair("runCommandWithFilename:arguments:completion:",
                               "v40@0:8@\"NSString\"16@\"NSArray\"24@?<v@?q>32"),
                          Pair("installScriptAt:authData:completion:", "v40@0:8@\"NSString\"16@\"NSData\"24@?<v@?q>32"),
                          Pair("uninstallWithAll:", "v20@0:8c16"),
                          Pair("uninstallScriptAt:completion:", "v32@0:8@\"NSString\"16@?<v@?q>24"),
                          Pair("uninstallScriptWithFilename:completion:", "v32@0:8@\"NSString\"16@?<v@?q>24")));
}

TEST(ProtocolTest, TheCompanionsProtocolHasItsOneMessage) {
  EXPECT_THAT(messages(@protocol(AppProtocol)), ElementsAre(Pair("logWithStdOut:", "v24@0:8@\"NSString\"16")));
}

TEST(ProtocolTest, TheProtocolsAreThoseOfTheCoreInNameAndOrder) {
  EXPECT_EQ(selectors(@protocol(HelperProtocol)), selectors(helper_protocol::interface));
  EXPECT_EQ(selectors(@protocol(AppProtocol)), selectors(app_protocol::interface));
}

TEST(ProtocolTest, NeitherProtocolInheritsOrHasOptionalMessages) {
  for (Protocol* protocol : { @protocol (HelperProtocol), @protocol (AppProtocol) }) {
    const auto& read = *reinterpret_cast<const objc::Protocol*>((__bridge const void*)protocol);
    EXPECT_EQ(read.inherited, nullptr);
    EXPECT_EQ(read.optionalInstanceMethods, nullptr);
    EXPECT_EQ(read.classMethods, nullptr);
  }
}

}  // namespace
}  // namespace wicket::suite
