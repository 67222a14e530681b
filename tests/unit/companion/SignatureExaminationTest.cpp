// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/system/Descriptor.h"
#include "codesign/signature/CodeDirectory.h"
#include "codesign/signature/Signer.h"
#include "companion/doctor/CompanionRequirement.h"
#include "companion/doctor/Diagnosis.h"
#include "companion/doctor/SignatureExamination.h"
#include "helper/security/CodesignCheck.h"
#include "tests/doubles/RecordingConnection.h"
#include "tests/doubles/ScriptedCodeSigningServices.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TestCertificates.h"

namespace wicket::companion::doctor {
namespace {

using codesign::Certificate;
using codesign::CodeDirectory;
using codesign::PropertyDictionary;
using codesign::PropertyValue;
using codesign::SigningRequest;
using support::TestChain;
using testing::HasSubstr;
using State = SignatureFacts::State;

constexpr char requirement[] =
    "anchor apple generic and identifier \"net.orvane.Wicket\" and "
    "certificate leaf[field.1.2.840.113635.100.6.1.13] exists";

codesign::SigningIdentity identityOf(const TestChain& chain) {
  EVP_PKEY_up_ref(chain.leaf.key());
  return codesign::SigningIdentity::fromParts(
             codesign::KeyObject(chain.leaf.key()),
             {Certificate::retaining(chain.leaf.x509()), Certificate::retaining(chain.intermediate.x509()),
              Certificate::retaining(chain.root.x509())})
      .value();
}

/// What the user is told.
Finding findingOf(const std::string& check, const SignatureFacts& signature) {
  SystemFacts facts;
  facts.program.signature = signature;
  for (const Finding& finding : diagnose(facts)) {
    if (finding.check == check) return finding;
  }
  return {};
}

/// The entitlements that the user is told of; empty if all is well.
std::string openDoorsIn(const SignatureFacts& signature) {
  const Finding finding = findingOf("entitlements", signature);
  const std::string start = "The signature lets other code into the program: ";
  if (finding.isWell) return "";
  return finding.statement.starts_with(start) ? finding.statement.substr(start.size()) : "not told";
}

class SignatureExaminationTest : public testing::Test {
 protected:
  SignatureExaminationTest() { std::ofstream(path_) << "#!/bin/sh\nexit 7\n"; }

  void sign(const SigningRequest& request) { sign(request, chain_); }
  void sign(const SigningRequest& request, const TestChain& chain) {
    const auto result = codesign::Signer::sign(path_, request, identityOf(chain));
    ASSERT_TRUE(result) << result.error();
  }
  [[nodiscard]] SignatureFacts examine() const {
    const Descriptor file(::open(path_.c_str(), O_RDONLY | O_CLOEXEC));
    return examineSignature(file.get(), Certificate::retaining(chain_.root.x509()), requirement);
  }
  /// Replaces one byte.
  void alterAt(std::streamoff position) const {
    std::fstream file(path_, std::ios::in | std::ios::out | std::ios::binary);
    file.seekg(position);
    const int before = file.get();
    file.seekp(position);
    file.put(static_cast<char>(before ^ 1));
  }
  static SigningRequest request(PropertyDictionary entitlements = {}) {
    return {"net.orvane.Wicket", CodeDirectory::runtimeFlag, std::move(entitlements)};
  }
  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  support::TemporaryFolder folder_;
  std::string path_ = folder_.path("program");
  TestChain chain_ = TestChain::developerId();
};

TEST_F(SignatureExaminationTest, TheGenuineProgramHolds) {
  sign(request());
  const auto facts = examine();
  EXPECT_EQ(facts.state, State::holds) << facts.reason;
  EXPECT_EQ(facts.flags, CodeDirectory::runtimeFlag);
  EXPECT_EQ(facts.entitlements, admission::EntitlementsDictionary{});
  EXPECT_EQ(openDoorsIn(facts), "");
  EXPECT_TRUE(facts.meetsRequirement);
}

TEST_F(SignatureExaminationTest, AnUnsignedFileHasNoSignature) { EXPECT_EQ(examine().state, State::missing); }

TEST_F(SignatureExaminationTest, ATruncatedFileHasNoSignature) {
  sign(request());
  std::filesystem::resize_file(path(), std::filesystem::file_size(path()) - 1);
  EXPECT_EQ(examine().state, State::missing);
}

TEST_F(SignatureExaminationTest, AnAlteredFileIsToldFromASignatureThatHolds) {
  sign(request());
  alterAt(11);
  const auto facts = examine();
  EXPECT_EQ(facts.state, State::altered);
  EXPECT_THAT(facts.reason, HasSubstr("altered"));
  EXPECT_TRUE(facts.meetsRequirement) << "what the signature says still comes from its maker";
}

TEST_F(SignatureExaminationTest, AnotherRootIsNotTrusted) {
  sign(request(), TestChain::developerId());
  const auto facts = examine();
  EXPECT_EQ(facts.state, State::notTrusted);
  EXPECT_FALSE(facts.meetsRequirement);
}

TEST_F(SignatureExaminationTest, TheHardenedRuntimeIsABitOfItsOwn) {
  sign({"net.orvane.Wicket", ~CodeDirectory::runtimeFlag, PropertyDictionary{}});
  const auto facts = examine();
  EXPECT_EQ(facts.flags, ~CodeDirectory::runtimeFlag);
  EXPECT_EQ(findingOf("runtime", facts).isWell, false);
}

TEST_F(SignatureExaminationTest, NoEntitlementsAreSomethingElseThanAnEmptyList) {
  sign({"net.orvane.Wicket", CodeDirectory::runtimeFlag, std::nullopt});
  const auto facts = examine();
  EXPECT_FALSE(facts.entitlements);
  EXPECT_THAT(findingOf("entitlements", facts).statement, HasSubstr("not even an empty list"));
}

TEST_F(SignatureExaminationTest, EntitlementsThatAreSetOrNoNumbersAreOpenDoors) {
  sign(request({{"com.apple.security.get-task-allow", PropertyValue(true)},
                {"com.apple.security.cs.disable-library-validation", PropertyValue(1)},
                {"com.apple.security.cs.allow-dyld-environment-variables", PropertyValue("no")}}));
  EXPECT_EQ(openDoorsIn(examine()),
            "com.apple.security.get-task-allow, com.apple.security.cs.disable-library-validation, "
            "com.apple.security.cs.allow-dyld-environment-variables (not a number: the helper ends at it)");
}

TEST_F(SignatureExaminationTest, ANumberThatTheHelperCannotHoldEndsItAndIsAnOpenDoor) {
  for (const double number : {1e300, -1e300, 9223372036854775808.0, 0.5}) {
    sign(request({{"com.apple.security.get-task-allow", PropertyValue(number)}}));
    EXPECT_EQ(openDoorsIn(examine()), "com.apple.security.get-task-allow (not a number: the helper ends at it)")
        << number;
  }
}

TEST_F(SignatureExaminationTest, ADateAndAnIntegerBeyond63BitsEndTheHelperAndAreOpenDoors) {
  for (const char* element : {"<integer>18446744073709551615</integer>", "<integer>9223372036854775808</integer>",
                              "<date>2026-01-31T12:00:00Z</date>"}) {
    const PropertyValue value(codesign::PropertyOther{element});
    sign(request({{"com.apple.security.get-task-allow", value}}));
    EXPECT_EQ(openDoorsIn(examine()), "com.apple.security.get-task-allow (not a number: the helper ends at it)")
        << element;
    sign(request({{"net.orvane.something", value}}));
    EXPECT_EQ(openDoorsIn(examine()), "") << element;
  }
}

TEST_F(SignatureExaminationTest, EntitlementsThatAreNotSetOrOthersAreNone) {
  sign(request({{"com.apple.security.get-task-allow", PropertyValue(false)},
                {"com.apple.security.cs.disable-library-validation", PropertyValue(-1)},
                {"com.apple.security.cs.allow-dyld-environment-variables", PropertyValue(0.0)},
                {"com.apple.security.app-sandbox", PropertyValue(true)}}));
  EXPECT_EQ(openDoorsIn(examine()), "");
}

TEST_F(SignatureExaminationTest, AnotherIdentifierDoesNotMeetTheRequirement) {
  sign({"net.orvane.Other", CodeDirectory::runtimeFlag, PropertyDictionary{}});
  const auto facts = examine();
  EXPECT_EQ(facts.state, State::holds);
  EXPECT_FALSE(facts.meetsRequirement);
}

TEST(CompanionRequirementTest, IsWhatTheHelperDemands) {
  doubles::ScriptedCodeSigningServices services;
  const doubles::RecordingConnection connection;
  ASSERT_TRUE(CodesignCheck::isValid(services, connection));
  EXPECT_THAT(services.calls(), testing::Contains("meets " + CompanionRequirement::text()));
}

}  // namespace
}  // namespace wicket::companion::doctor
