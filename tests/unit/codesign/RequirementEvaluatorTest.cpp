// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "codesign/requirement/RequirementEvaluator.h"
#include "codesign/requirement/RequirementParser.h"
#include "tests/support/TestCertificates.h"

namespace wicket::codesign {
namespace {

using namespace std::string_literals;
using support::authorityRecipe;
using support::CertificateRecipe;
using support::leafRecipe;
using support::TestCertificate;
using support::TestChain;

CertificateChain chainOf(const TestChain& made) {
  return CertificateChain({Certificate::retaining(made.leaf.x509()), Certificate::retaining(made.intermediate.x509()),
                           Certificate::retaining(made.root.x509())});
}

std::string hashOf(const Certificate& certificate) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text = "H\"";
  for (const std::byte byte : certificate.sha1()) {
    text += digits[std::to_integer<unsigned>(byte) >> 4U];
    text += digits[std::to_integer<unsigned>(byte) & 0xFU];
  }
  return text + "\"";
}

/// A signature whose root counts as one of Apple's unless a test changes that.
class RequirementEvaluatorTest : public testing::Test {
 protected:
  explicit RequirementEvaluatorTest(const TestChain& made = TestChain::developerId()) { use(made); }

  void use(const TestChain& made) {
    chain_ = chainOf(made);
    roots_ = {chain_.root()->sha256()};
  }

  void useLeaf(const CertificateRecipe& recipe) {
    use(TestChain::make(authorityRecipe("Root"), authorityRecipe("Intermediate"), recipe));
  }

  [[nodiscard]] bool isMet(const std::string& text) const {
    const auto parsed = RequirementParser::parse(text);
    if (!parsed) {
      throw std::runtime_error(text + ": " + parsed.error().text());
    }
    return codesign::isMet(*parsed, {identifier_, chain_, information_, entitlements_, roots_});
  }

  std::string identifier_ = "net.orvane.Wicket";
  CertificateChain chain_;
  PropertyDictionary information_;
  PropertyDictionary entitlements_;
  std::set<Sha256Digest> roots_;
};

TEST_F(RequirementEvaluatorTest, ConstantsAreWhatTheySay) {
  EXPECT_TRUE(isMet("always"));
  EXPECT_TRUE(isMet("true"));
  EXPECT_FALSE(isMet("never"));
  EXPECT_FALSE(isMet("false"));
}

TEST_F(RequirementEvaluatorTest, AndOrAndNotHaveTheirTruthTables) {
  for (const auto& [left, right] :
       {std::pair{"always", "always"}, {"always", "never"}, {"never", "always"}, {"never", "never"}}) {
    const bool isLeft = left == "always"s;
    const bool isRight = right == "always"s;
    EXPECT_EQ(isMet(left + " and "s + right), isLeft && isRight) << left << right;
    EXPECT_EQ(isMet(left + " or "s + right), isLeft || isRight) << left << right;
    EXPECT_EQ(isMet("!"s + left + " and " + right), !isLeft && isRight) << left << right;
  }
  EXPECT_TRUE(isMet("always or never and never and always"));
  EXPECT_FALSE(isMet("(always or never) and never"));
  EXPECT_TRUE(isMet("!!always"));
  EXPECT_FALSE(isMet("!(never or always)"));
}

TEST_F(RequirementEvaluatorTest, TheIdentifierMustBeTheSameBytes) {
  EXPECT_TRUE(isMet("identifier \"net.orvane.Wicket\""));
  for (const char* other :
       {"net.orvane.wicket", "net.orvane.Wicket ", "net.orvane.Wicke", "net.orvane.Wicket.Other", ""}) {
    EXPECT_FALSE(isMet("identifier \""s + other + "\"")) << other;
  }
  identifier_ = "net.orvane.Wicket\0x"s;
  EXPECT_FALSE(isMet("identifier \"net.orvane.Wicket\""));
}

TEST_F(RequirementEvaluatorTest, AnAppleGenericAnchorIsALastCertificateThatCountsAsAppleRoot) {
  EXPECT_TRUE(isMet("anchor apple generic"));
  roots_ = {chain_.leaf()->sha256(), chain_.at(1)->sha256()};
  EXPECT_FALSE(isMet("anchor apple generic"));
  roots_.clear();
  EXPECT_FALSE(isMet("anchor apple generic"));
}

TEST_F(RequirementEvaluatorTest, AnotherRootOfTheSameNameIsNoAppleAnchor) {
  const std::set<Sha256Digest> genuine = roots_;
  use(TestChain::developerId());
  ASSERT_EQ(chain_.root()->subjectAttribute("CN"), "Test Root");
  roots_ = genuine;
  EXPECT_FALSE(isMet("anchor apple generic"));
}

TEST_F(RequirementEvaluatorTest, AnAppleAnchorNeedsTheLeafThatSignsTheSystemsSoftware) {
  EXPECT_FALSE(isMet("anchor apple"));
  useLeaf(leafRecipe("Software Signing"));
  EXPECT_TRUE(isMet("anchor apple"));
  roots_.clear();
  EXPECT_FALSE(isMet("anchor apple"));
}

TEST_F(RequirementEvaluatorTest, WithoutACertificateNothingAboutCertificatesHolds) {
  chain_ = CertificateChain();
  for (const char* text : {"anchor apple", "anchor apple generic", "anchor trusted", "cert leaf trusted",
                           "cert leaf[subject.CN]", "cert root[field.2.5.29.15]", "cert leaf[subject.O] absent",
                           "anchor = H\"0000000000000000000000000000000000000000\""}) {
    EXPECT_FALSE(isMet(text)) << text;
  }
}

TEST_F(RequirementEvaluatorTest, TrustIsAskedOfTheLastCertificateOrOfTheOneNamed) {
  EXPECT_TRUE(isMet("certificate trusted"));
  EXPECT_TRUE(isMet("anchor trusted"));
  EXPECT_TRUE(isMet("cert root trusted"));
  EXPECT_TRUE(isMet("cert 2 trusted"));
  EXPECT_FALSE(isMet("cert leaf trusted"));
  EXPECT_FALSE(isMet("cert 1 trusted"));
  EXPECT_FALSE(isMet("cert 3 trusted"));
  roots_ = {chain_.leaf()->sha256()};
  EXPECT_FALSE(isMet("certificate trusted"));
  EXPECT_TRUE(isMet("cert leaf trusted"));
}

TEST_F(RequirementEvaluatorTest, SlotsCountFromTheLeafUpwardsAndFromTheRootDownwards) {
  const std::string leaf = "Developer ID Application: Wicket Development (DEVELOPER0)";
  const std::string intermediate = "Developer ID Certification Authority";
  const auto isAt = [this](const std::string& slot, const std::string& name) {
    return isMet("certificate " + slot + "[subject.CN] = \"" + name + "\"");
  };
  EXPECT_TRUE(isAt("leaf", leaf));
  EXPECT_TRUE(isAt("0", leaf));
  EXPECT_TRUE(isAt("1", intermediate));
  EXPECT_TRUE(isAt("2", "Test Root"));
  EXPECT_TRUE(isAt("root", "Test Root"));
  EXPECT_TRUE(isAt("-1", "Test Root"));
  EXPECT_TRUE(isAt("-2", intermediate));
  EXPECT_TRUE(isAt("-3", leaf));
  EXPECT_TRUE(isMet("anchor[subject.CN] = \"Test Root\""));
}

TEST_F(RequirementEvaluatorTest, ASlotOutsideTheChainMeetsNothing) {
  for (const char* slot : {"3", "-4", "2147483647", "-2147483647"}) {
    EXPECT_FALSE(isMet("certificate "s + slot + "[subject.CN]")) << slot;
    EXPECT_FALSE(isMet("certificate "s + slot + "[subject.CN] absent")) << slot;
    EXPECT_FALSE(isMet("certificate "s + slot + "[field.2.5.29.15]")) << slot;
    EXPECT_FALSE(isMet("certificate "s + slot + " = " + hashOf(*chain_.leaf()))) << slot;
  }
}

TEST_F(RequirementEvaluatorTest, AHashIsTheCertificatesSha1) {
  EXPECT_TRUE(isMet("anchor = " + hashOf(*chain_.root())));
  EXPECT_TRUE(isMet("certificate leaf = " + hashOf(*chain_.leaf())));
  EXPECT_TRUE(isMet("certificate 1 " + hashOf(*chain_.at(1))));
  EXPECT_FALSE(isMet("certificate leaf = " + hashOf(*chain_.root())));
}

TEST_F(RequirementEvaluatorTest, ATextMatchIsExactCodeUnits) {
  useLeaf(leafRecipe("caf\xC3\xA9 (T)"));
  EXPECT_TRUE(isMet("cert leaf[subject.CN] = \"caf\xC3\xA9 (T)\""));
  EXPECT_TRUE(
      isMet("cert leaf[subject.CN] = 0x636166c3a9202854"
            "29"));
  for (const char* other :
       {"cafe\xCC\x81 (T)", "CAF\xC3\x89 (T)", "caf\xC3\xA9 (T) ", " caf\xC3\xA9 (T)", "caf\xC3\xA9", ""}) {
    EXPECT_FALSE(isMet("cert leaf[subject.CN] = \""s + other + "\"")) << other;
  }
}

TEST_F(RequirementEvaluatorTest, AsterisksLeaveAnEndOpen) {
  useLeaf(leafRecipe("one two three"));
  EXPECT_TRUE(isMet("cert leaf[subject.CN] = one*"));
  EXPECT_FALSE(isMet("cert leaf[subject.CN] = two*"));
  EXPECT_TRUE(isMet("cert leaf[subject.CN] = *three"));
  EXPECT_FALSE(isMet("cert leaf[subject.CN] = *two"));
  EXPECT_TRUE(isMet("cert leaf[subject.CN] = *two*"));
  EXPECT_TRUE(isMet("cert leaf[subject.CN] ~ two"));
  EXPECT_FALSE(isMet("cert leaf[subject.CN] ~ four"));
  EXPECT_TRUE(isMet("cert leaf[subject.CN] = *\"one two three\"*"));
  EXPECT_TRUE(isMet("cert leaf[subject.CN] = \"\"*"));
}

TEST_F(RequirementEvaluatorTest, OrderComparesTheNumbersInTexts) {
  information_.emplace("version", PropertyValue("1.10"));
  EXPECT_TRUE(isMet("info[version] > \"1.9\""));
  EXPECT_FALSE(isMet("info[version] < \"1.9\""));
  EXPECT_TRUE(isMet("info[version] >= \"1.10\""));
  EXPECT_TRUE(isMet("info[version] <= \"1.10\""));
  EXPECT_FALSE(isMet("info[version] < \"1.10\""));
  EXPECT_FALSE(isMet("info[version] > \"1.10\""));
  EXPECT_TRUE(isMet("info[version] < \"2\""));
}

TEST_F(RequirementEvaluatorTest, TheLastOfSeveralCommonNamesCounts) {
  CertificateRecipe recipe;
  recipe.subject = {{"CN", "genuine"}, {"CN", "other"}};
  useLeaf(recipe);
  EXPECT_FALSE(isMet("cert leaf[subject.CN] = genuine"));
  EXPECT_TRUE(isMet("cert leaf[subject.CN] = other"));
}

TEST_F(RequirementEvaluatorTest, ACommonNameWithANulIsNotTheTextBeforeIt) {
  useLeaf(leafRecipe("genuine\0.other"s));
  EXPECT_FALSE(isMet("cert leaf[subject.CN] = genuine"));
  EXPECT_TRUE(isMet("cert leaf[subject.CN] = genuine*"));
  EXPECT_TRUE(isMet("cert leaf[subject.CN] = \"genuine\0.other\""s));
}

TEST_F(RequirementEvaluatorTest, ANameInTheIssuerIsNotOneInTheSubject) {
  CertificateRecipe recipe;
  recipe.subject = {{"O", "somebody"}};
  use(TestChain::make(authorityRecipe("Root"), authorityRecipe("genuine"), recipe));
  EXPECT_FALSE(isMet("cert leaf[subject.CN] = genuine"));
  EXPECT_FALSE(isMet("cert leaf[subject.CN]"));
}

TEST_F(RequirementEvaluatorTest, EverySubjectAttributeCanBeAskedFor) {
  CertificateRecipe recipe;
  recipe.subject = {{"C", "DE"}, {"CN", "b"}, {"D", "c"},       {"L", "d"},  {"O", "e"},
                    {"OU", "f"}, {"ST", "g"}, {"2.5.4.9", "h"}, {"UID", "i"}};
  useLeaf(recipe);
  EXPECT_TRUE(
      isMet("cert leaf[subject.C] = DE and cert leaf[subject.CN] = b and cert leaf[subject.D] = c and "
            "cert leaf[subject.L] = d and cert leaf[subject.O] = e and cert leaf[subject.OU] = f and "
            "cert leaf[subject.ST] = g and cert leaf[subject.STREET] = h and cert leaf[subject.UID] = i"));
}

TEST_F(RequirementEvaluatorTest, AnUnknownOrMissingSubjectAttributeMeetsNothingNotEvenAbsent) {
  useLeaf(leafRecipe("x"));
  for (const char* key : {"subject.O", "subject.X", "subject.cn", "subject.CN.CN", "\"subject.\"", "\"subject.C-OU\"",
                          "\"subject.2.5.4.3\""}) {
    for (const char* match : {"", " exists", " absent", " = x", " = \"\"*", " ~ \"\"", " < x", " >= \"\""}) {
      EXPECT_FALSE(isMet("cert leaf["s + key + "]" + match)) << key << match;
    }
  }
}

TEST_F(RequirementEvaluatorTest, AnAttributeThatIsThereExistsAndIsNotAbsent) {
  EXPECT_TRUE(isMet("cert leaf[subject.CN]"));
  EXPECT_TRUE(isMet("cert leaf[subject.CN] exists"));
  EXPECT_FALSE(isMet("cert leaf[subject.CN] absent"));
}

TEST_F(RequirementEvaluatorTest, AFieldIsAnExtensionWhateverItsContent) {
  EXPECT_TRUE(isMet("cert leaf[field.1.2.840.113635.100.6.1.13]"));
  EXPECT_TRUE(isMet("cert leaf[extension.1.2.840.113635.100.6.1.13] exists"));
  EXPECT_TRUE(isMet("cert leaf[field.2.5.29.37]"));
  EXPECT_FALSE(isMet("cert leaf[field.1.2.840.113635.100.6.1.130]"));
  EXPECT_FALSE(isMet("cert 1[field.1.2.840.113635.100.6.1.13]"));
  EXPECT_FALSE(isMet("cert leaf[field.1.2.840.113635.100.6.1.13] absent"));
  EXPECT_FALSE(isMet("cert leaf[field.1.2.840.113635.100.6.1.13] = x"));
  EXPECT_FALSE(isMet("cert leaf[field.1.2.3] absent"));
}

TEST_F(RequirementEvaluatorTest, APolicyIsOneThatTheCertificateNames) {
  CertificateRecipe recipe;
  recipe.policies = {"1.2.3.4"};
  useLeaf(recipe);
  EXPECT_TRUE(isMet("cert leaf[policy.1.2.3.4]"));
  EXPECT_FALSE(isMet("cert leaf[policy.1.2.3.5]"));
  EXPECT_FALSE(isMet("cert leaf[policy.1.2.3.5] absent"));
  EXPECT_FALSE(isMet("cert 1[policy.1.2.3.4]"));
}

TEST_F(RequirementEvaluatorTest, InformationAndEntitlementsAreTwoDictionaries) {
  information_.emplace("key", PropertyValue("information"));
  entitlements_.emplace("key", PropertyValue("entitlement"));
  EXPECT_TRUE(isMet("info[key] = information and entitlement[key] = \"entitlement\""));
  EXPECT_FALSE(isMet("info[key] = \"entitlement\" or entitlement[key] = information"));
}

TEST_F(RequirementEvaluatorTest, InADictionaryAbsentIsTrueOfWhatIsMissing) {
  information_.emplace("there", PropertyValue("x"));
  information_.emplace("no", PropertyValue(false));
  EXPECT_TRUE(isMet("info[missing] absent"));
  EXPECT_FALSE(isMet("info[missing]"));
  EXPECT_FALSE(isMet("info[missing] = \"\""));
  EXPECT_FALSE(isMet("info[there] absent"));
  EXPECT_FALSE(isMet("info[no] absent"));
}

TEST_F(RequirementEvaluatorTest, AnythingButFalseExists) {
  information_.emplace("yes", PropertyValue(true));
  information_.emplace("no", PropertyValue(false));
  information_.emplace("zero", PropertyValue(0));
  information_.emplace("empty", PropertyValue(""));
  information_.emplace("none", PropertyValue(PropertyArray{}));
  for (const char* key : {"yes", "zero", "empty", "none"}) {
    EXPECT_TRUE(isMet("info["s + key + "] exists")) << key;
    EXPECT_TRUE(isMet("info["s + key + "] /* exists */")) << key;
  }
  EXPECT_FALSE(isMet("info[no] exists"));
}

TEST_F(RequirementEvaluatorTest, WhatIsNoTextIsEqualToNoText) {
  information_.emplace("yes", PropertyValue(true));
  information_.emplace("one", PropertyValue(1));
  information_.emplace("half", PropertyValue(0.5));
  information_.emplace("data", PropertyValue(PropertyData{std::byte{'1'}}));
  information_.emplace("dictionary", PropertyValue(PropertyDictionary{{"1", PropertyValue("1")}}));
  for (const char* key : {"yes", "one", "half", "data", "dictionary"}) {
    EXPECT_FALSE(isMet("info["s + key + "] = \"1\"")) << key;
    EXPECT_FALSE(isMet("info["s + key + "] = \"true\"")) << key;
    EXPECT_FALSE(isMet("info["s + key + "] <= \"1\" or info[" + key + "] > \"1\"")) << key;
    EXPECT_FALSE(isMet("info["s + key + "] ~ \"\"")) << key;
  }
}

TEST_F(RequirementEvaluatorTest, AnArrayMeetsWhatOneOfItsElementsMeets) {
  entitlements_.emplace("groups", PropertyValue(PropertyArray{PropertyValue("one"), PropertyValue(2),
                                                              PropertyValue(PropertyArray{PropertyValue("three")})}));
  EXPECT_TRUE(isMet("entitlement[groups] = one"));
  EXPECT_TRUE(isMet("entitlement[groups] = th*"));
  EXPECT_FALSE(isMet("entitlement[groups] = two"));
  EXPECT_FALSE(isMet("entitlement[groups] absent"));
}

TEST_F(RequirementEvaluatorTest, WhatNoProgramSignedHereHasIsNeverMet) {
  information_.emplace("date", PropertyValue("2026-01-01 00:00:00 +0000"));
  for (const char* text :
       {"cdhash H\"0123456789012345678901234567890123456789\"", "platform = 0", "platform = 14", "notarized", "legacy",
        "(somebody)", "anchor apple somebody", "cert leaf[timestamp.1.2.840.113635.100.6.1.13]",
        "cert leaf[timestamp.1.2.3] absent", "info[date] = timestamp \"2026-01-01 00:00:00 +0000\"",
        "info[date] > timestamp \"2001-01-01 00:00:00 +0000\"", "info[missing] < timestamp \"2001\""}) {
    EXPECT_FALSE(isMet(text)) << text;
    EXPECT_TRUE(isMet("!"s + text)) << text;
  }
}

TEST_F(RequirementEvaluatorTest, TheDeepestNestingIsEvaluated) {
  std::string text = "always";
  for (int level = 0; level < RequirementParser::deepestNesting; level += 2) {
    text = "never or always and !(" + text + ")";
    ASSERT_EQ(isMet(text), level % 4 == 2) << level;
  }
}

}  // namespace
}  // namespace wicket::codesign
