// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <cctype>
#include <cstdlib>
#include <functional>
#include <initializer_list>
#include <utility>

#include "tests/macos/frameworks/CodeSigning.h"
#include "tests/macos/frameworks/Xpc.h"
#include "tests/macos/suite/HelperTest.h"

namespace wicket::suite {
namespace {

using frameworks::CodeSigning;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

class CodeSigningTest : public HelperTest {
 protected:
  void SetUp() override {
    HelperTest::SetUp();
    forget();
  }
  /// Whether a client is accepted about which everything is genuine but for @p change.
  bool accepts(const std::function<void(CodeSigning&)>& change) {
    CodeSigning answers = CodeSigning::genuine();
    change(answers);
    CodeSigning::answer(answers);
    return Client().connect();
  }
  bool acceptsInformation(NSDictionary* information) {
    return accepts([&](CodeSigning& answers) { answers.information = information; });
  }
  bool acceptsEntitlement(NSString* name, id value) {
    return acceptsInformation(@{@"flags" : @(kSecCodeSignatureRuntime), @"entitlements-dict" : @{name : value}});
  }
  static std::vector<std::string> steps() {
    std::vector<std::string> result;
    for (const std::string& event : recorded()) {
      if (event.starts_with("connection")) break;
      result.push_back(event);
    }
    return result;
  }
};

TEST_F(CodeSigningTest, TheStepsAreTakenInOrderWithTheirArguments) {
  EXPECT_TRUE(accepts([](CodeSigning&) {}));
  EXPECT_THAT(
      steps(),
      ElementsAre(
          "guest of no host with audit=000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f flags 0",
          "static code flags 0", "signing information flags 8",
          "requirement flags 0: anchor apple generic and identifier \"net.orvane.Wicket\" and certificate "
          "leaf[subject.CN] = \"" WICKET_EXPECTED_COMMON_NAME "\"",
          "validity flags 0"));
}

class StatusTest : public CodeSigningTest, public testing::WithParamInterface<OSStatus> {};

TEST_P(StatusTest, RefusesTheClientWhenItComesFromTheFirstStep) {
  EXPECT_FALSE(accepts([](CodeSigning& answers) { answers.guestStatus = GetParam(); }));
  EXPECT_THAT(recorded(), SizeIs(1));
}

TEST_P(StatusTest, IsNotLookedAtWhenTheStaticCodeIsThereAllTheSame) {
  EXPECT_TRUE(accepts([](CodeSigning& answers) { answers.staticCodeStatus = GetParam(); }));
}

TEST_P(StatusTest, RefusesTheClientWhenItComesFromTheSigningInformation) {
  EXPECT_FALSE(accepts([](CodeSigning& answers) { answers.informationStatus = GetParam(); }));
  EXPECT_THAT(recorded("requirement"), IsEmpty());
}

TEST_P(StatusTest, RefusesTheClientWhenItComesFromTheRequirement) {
  EXPECT_FALSE(accepts([](CodeSigning& answers) { answers.requirementStatus = GetParam(); }));
  EXPECT_THAT(recorded("validity"), IsEmpty());
}

TEST_P(StatusTest, RefusesTheClientWhenItComesFromTheCheckOfValidity) {
  EXPECT_FALSE(accepts([](CodeSigning& answers) { answers.validityStatus = GetParam(); }));
}

INSTANTIATE_TEST_SUITE_P(Each, StatusTest,
                         testing::Values(-67034, -67050, -67052, -67061, -67062, -67063, -67065, -67066, 1, 100001),
                         [](const auto& status) {
                           return (status.param < 0 ? "Minus" : "Plus") + std::to_string(std::abs(status.param));
                         });

TEST_F(CodeSigningTest, AReferenceThatIsMissingInSpiteOfSuccessRefusesTheClient) {
  EXPECT_FALSE(accepts([](CodeSigning& answers) { answers.hasGuest = false; }));
  EXPECT_FALSE(accepts([](CodeSigning& answers) { answers.hasStaticCode = false; }));
  EXPECT_FALSE(accepts([](CodeSigning& answers) { answers.information = nil; }));
  EXPECT_FALSE(accepts([](CodeSigning& answers) { answers.hasRequirement = false; }));
}

TEST_F(CodeSigningTest, AStaticCodeThatIsMissingWithAStatusRefusesTheClient) {
  EXPECT_FALSE(accepts([](CodeSigning& answers) {
    answers.hasStaticCode = false;
    answers.staticCodeStatus = -67062;
  }));
}

TEST_F(CodeSigningTest, FlagsThatAreMissingOrNoNumberRefuseTheClient) {
  EXPECT_FALSE(acceptsInformation(@{@"entitlements-dict" : @{}}));
  for (id flags :
       std::initializer_list<id> { @"65536", @65536.5, @(-1), @0x100010000, [NSData dataWithBytes:"" length:0], @{} }) {
    EXPECT_FALSE(acceptsInformation(@{@"flags" : flags, @"entitlements-dict" : @{}}));
  }
}

TEST_F(CodeSigningTest, AClientWithoutTheHardenedRuntimeIsRefusedBeforeItsRequirementIsLookedAt) {
  for (id flags : std::initializer_list<id> { @0, @0x800, @0x20000, @0xfffeffff }) {
    EXPECT_FALSE(acceptsInformation(@{@"flags" : flags, @"entitlements-dict" : @{}}));
  }
  EXPECT_THAT(recorded("requirement"), IsEmpty());
}

TEST_F(CodeSigningTest, OtherFlagsBesideTheHardenedRuntimeDoNotMatter) {
  for (id flags : std::initializer_list<id> { @0x10000, @0x10802, @0xffffffff }) {
    EXPECT_TRUE(acceptsInformation(@{@"flags" : flags, @"entitlements-dict" : @{}}));
  }
}

TEST_F(CodeSigningTest, EntitlementsThatAreMissingOrNoDictionaryRefuseTheClient) {
  EXPECT_FALSE(acceptsInformation(@{@"flags" : @(kSecCodeSignatureRuntime)}));
  EXPECT_FALSE(acceptsInformation(@{@"flags" : @(kSecCodeSignatureRuntime), @"entitlements-dict" : @[]}));
  EXPECT_FALSE(acceptsInformation(@{@"flags" : @(kSecCodeSignatureRuntime), @"entitlements-dict" : @"text"}));
}

class EntitlementTest : public CodeSigningTest, public testing::WithParamInterface<const char*> {
 protected:
  static NSString* name() { return [NSString stringWithUTF8String:GetParam()]; }
};

TEST_P(EntitlementTest, RefusesTheClientWhenItIsTrueOrOne) {
  for (id value : std::initializer_list<id> { @YES, @1, @1LL, @1.0 }) EXPECT_FALSE(acceptsEntitlement(name(), value));
  EXPECT_THAT(recorded("requirement"), IsEmpty());
}

TEST_P(EntitlementTest, PassesWhenItIsFalseOrAnotherInteger) {
  for (id value : std::initializer_list<id> { @NO, @0, @2, @(-1), @0.0, @2.0, @0x100000001 }) {
    EXPECT_TRUE(acceptsEntitlement(name(), value));
  }
}

TEST_P(EntitlementTest, EndsTheHelperWhenItIsNoInteger) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH((void)acceptsEntitlement(name(), @"1"), HasSubstr(GetParam()));
  EXPECT_DEATH((void)acceptsEntitlement(name(), @1.5), HasSubstr(GetParam()));
  EXPECT_DEATH((void)acceptsEntitlement(name(), @[ @1 ]), HasSubstr(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Each, EntitlementTest,
                         testing::Values("com.apple.security.get-task-allow",
                                         "com.apple.security.cs.disable-library-validation",
                                         "com.apple.security.cs.allow-dyld-environment-variables"),
                         [](const auto& name) {
                           std::string word = name.param;
                           std::erase_if(word, [](char character) { return std::isalnum(character) == 0; });
                           return word;
                         });

TEST_F(CodeSigningTest, OtherEntitlementsAndKeysThatAreNoStringsDoNotMatter) {
  EXPECT_TRUE(acceptsEntitlement(@"com.apple.security.network.client", @YES));
  EXPECT_TRUE(acceptsEntitlement(@"com.apple.security.application-groups", @[ @"group" ]));
  EXPECT_TRUE(acceptsInformation(@{@"flags" : @(kSecCodeSignatureRuntime), @"entitlements-dict" : @{@7 : @YES}}));
}

}  // namespace
}  // namespace wicket::suite
