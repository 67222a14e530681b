// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>
#include <set>
#include <stdexcept>
#include <string>

#include "codesign/requirement/RequirementEvaluator.h"
#include "codesign/requirement/RequirementParser.h"
#include "resources/EmbeddedPropertyLists.h"
#include "tests/support/TestCertificates.h"

namespace wicket::codesign {
namespace {

using support::authorityRecipe;
using support::CertificateRecipe;
using support::TestChain;

constexpr const char* storeLeafField = "1.2.840.113635.100.6.1.9";
constexpr const char* intermediateField = "1.2.840.113635.100.6.2.6";
constexpr const char* leafField = "1.2.840.113635.100.6.1.13";

const std::string ofAuthorizedClients =
    "anchor apple generic and identifier \"net.orvane.Wicket\" and (certificate leaf[field.1.2.840.113635.100.6.1.9] "
    "/* exists */ or certificate 1[field.1.2.840.113635.100.6.2.6] /* exists */ and certificate "
    "leaf[field.1.2.840.113635.100.6.1.13] /* exists */ and certificate leaf[subject.OU] = DEVELOPER0)";

const std::string ofConnections =
    "anchor apple generic and identifier \"net.orvane.Wicket\" and certificate leaf[subject.CN] = \"Developer ID "
    "Application: Wicket Development (DEVELOPER0)\"";

struct Question {
  TestChain chain;
  std::string identifier = "net.orvane.Wicket";
  bool isAnchored = true;
};

bool isMet(const std::string& text, const Question& question) {
  const CertificateChain chain({Certificate::retaining(question.chain.leaf.x509()),
                                Certificate::retaining(question.chain.intermediate.x509()),
                                Certificate::retaining(question.chain.root.x509())});
  std::set<Sha256Digest> roots;
  if (question.isAnchored) {
    roots.insert(chain.root()->sha256());
  }
  const auto parsed = RequirementParser::parse(text);
  if (!parsed) {
    throw std::runtime_error(parsed.error().text());
  }
  return codesign::isMet(*parsed, {question.identifier, chain, {}, {}, roots});
}

TestChain chainWith(const std::vector<std::string>& intermediateFields, const std::vector<std::string>& leafFields,
                    const std::string& unit) {
  CertificateRecipe intermediate = authorityRecipe("Intermediate");
  intermediate.extensions = intermediateFields;
  CertificateRecipe leaf;
  leaf.subject = {{"CN", "Developer ID Application: Wicket Development (DEVELOPER0)"}, {"OU", unit}};
  leaf.extensions = leafFields;
  return TestChain::make(authorityRecipe("Root"), intermediate, leaf);
}

TEST(AuthorizedClientsRequirementTest, IsTheOneThatTheHelperCarries) {
  const auto list = PropertyValue::fromXml(resources::EmbeddedPropertyLists::bundleInformation());
  ASSERT_TRUE(list) << list.error().message;
  const auto& clients = *list->as<PropertyDictionary>()->at("SMAuthorizedClients").as<PropertyArray>();
  ASSERT_EQ(clients.size(), 1U);
  const auto carried = RequirementParser::parse(*clients.front().as<std::string>());
  ASSERT_TRUE(carried) << carried.error().text();
  const auto& conditions = std::get<requirement::All>(carried->node).operands;
  const auto expected = RequirementParser::parse(ofAuthorizedClients);
  ASSERT_TRUE(expected);
  const auto& expectedConditions = std::get<requirement::All>(expected->node).operands;
  ASSERT_EQ(conditions.size(), 3U);
  EXPECT_EQ(conditions[0], expectedConditions[0]);
  EXPECT_EQ(conditions[1], expectedConditions[1]);
  // The team identifier at its end is a value of the build.
  const auto& alternatives = std::get<requirement::Any>(conditions[2].node).operands;
  const auto& expectedAlternatives = std::get<requirement::Any>(expectedConditions[2].node).operands;
  ASSERT_EQ(alternatives.size(), 2U);
  EXPECT_EQ(alternatives[0], expectedAlternatives[0]);
  const auto& ofDeveloper = std::get<requirement::All>(alternatives[1].node).operands;
  const auto& expectedOfDeveloper = std::get<requirement::All>(expectedAlternatives[1].node).operands;
  ASSERT_EQ(ofDeveloper.size(), 3U);
  EXPECT_EQ(ofDeveloper[0], expectedOfDeveloper[0]);
  EXPECT_EQ(ofDeveloper[1], expectedOfDeveloper[1]);
}

TEST(AuthorizedClientsRequirementTest, IsMetByTheStoresSignature) {
  EXPECT_TRUE(isMet(ofAuthorizedClients, {TestChain::store()}));
}

TEST(AuthorizedClientsRequirementTest, IsMetByTheMakersDeveloperIdSignature) {
  EXPECT_TRUE(isMet(ofAuthorizedClients, {TestChain::developerId()}));
}

TEST(AuthorizedClientsRequirementTest, TheDeveloperIdSignatureNeedsBothFieldsAndTheTeam) {
  EXPECT_TRUE(isMet(ofAuthorizedClients, {chainWith({intermediateField}, {leafField}, "DEVELOPER0")}));
  EXPECT_FALSE(isMet(ofAuthorizedClients, {chainWith({}, {leafField}, "DEVELOPER0")}));
  EXPECT_FALSE(isMet(ofAuthorizedClients, {chainWith({intermediateField}, {}, "DEVELOPER0")}));
  EXPECT_FALSE(isMet(ofAuthorizedClients, {chainWith({intermediateField}, {leafField}, "DEVELOPER1")}));
  EXPECT_FALSE(isMet(ofAuthorizedClients, {chainWith({}, {intermediateField, leafField}, "DEVELOPER0")}));
  EXPECT_FALSE(isMet(ofAuthorizedClients, {chainWith({intermediateField, leafField}, {}, "DEVELOPER0")}));
}

TEST(AuthorizedClientsRequirementTest, TheStoresSignatureNeedsTheFieldInTheLeaf) {
  EXPECT_TRUE(isMet(ofAuthorizedClients, {chainWith({}, {storeLeafField}, "ANYBODY")}));
  EXPECT_FALSE(isMet(ofAuthorizedClients, {chainWith({storeLeafField}, {}, "ANYBODY")}));
}

TEST(AuthorizedClientsRequirementTest, NeitherSignatureMakesUpForTheAnchorOrTheIdentifier) {
  for (const TestChain& chain : {TestChain::store(), TestChain::developerId()}) {
    EXPECT_FALSE(isMet(ofAuthorizedClients, {.chain = chain, .isAnchored = false}));
    EXPECT_FALSE(isMet(ofAuthorizedClients, {.chain = chain, .identifier = "net.orvane.Other"}));
  }
}

TEST(ConnectionRequirementTest, IsMetByTheMakersCertificateAlone) {
  EXPECT_TRUE(isMet(ofConnections, {TestChain::developerId()}));
  EXPECT_FALSE(isMet(ofConnections, {TestChain::developerId("Wicket Development", "DEVELOPER1")}));
  EXPECT_FALSE(isMet(ofConnections, {TestChain::developerId("Wicket development", "DEVELOPER0")}));
  EXPECT_FALSE(isMet(ofConnections, {TestChain::store()}));
}

TEST(ConnectionRequirementTest, NeedsTheAnchorAndTheIdentifierToo) {
  EXPECT_FALSE(isMet(ofConnections, {.chain = TestChain::developerId(), .isAnchored = false}));
  EXPECT_FALSE(isMet(ofConnections, {.chain = TestChain::developerId(), .identifier = "net.orvane.wicket"}));
}

}  // namespace
}  // namespace wicket::codesign
