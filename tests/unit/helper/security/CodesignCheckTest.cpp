// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

#include "admission/Facts.h"
#include "helper/security/CodesignCheck.h"
#include "helper/security/SigningCertificate.h"
#include "tests/doubles/RecordingConnection.h"
#include "tests/doubles/ScriptedCodeSigningServices.h"

namespace wicket {
namespace {

using testing::ElementsAre;

constexpr char getTaskAllow[] = "com.apple.security.get-task-allow";
constexpr char disableLibraryValidation[] = "com.apple.security.cs.disable-library-validation";
constexpr char allowDyldEnvironmentVariables[] = "com.apple.security.cs.allow-dyld-environment-variables";

class CodesignCheckTest : public testing::Test {
 protected:
  bool isValid() { return CodesignCheck::isValid(services_, connection_); }
  void entitle(const EntitlementsDictionary& entitlements) {
    services_.setInformation({admission::SignatureFacts::hardenedRuntime, entitlements});
  }
  /// The question that was asked last; what would have come after it was left out.
  std::string lastCall() const {
    const auto calls = services_.calls();
    return calls.empty() ? "" : calls.back();
  }
  static std::string requirement() {
    return "anchor apple generic and identifier \"net.orvane.Wicket\" and certificate leaf[subject.CN] = \"" +
           std::string(SigningCertificate::commonName()) + "\"";
  }

  doubles::ScriptedCodeSigningServices services_;
  doubles::RecordingConnection connection_;
};

TEST_F(CodesignCheckTest, TheGenuineCompanionIsLetInAfterAllQuestionsInTheirOrder) {
  EXPECT_TRUE(isValid());
  EXPECT_THAT(services_.calls(), ElementsAre("identify", "information", "meets " + requirement()));
}

TEST_F(CodesignCheckTest, TheProcessIsFoundByTheConnectionsAuditToken) {
  AuditTokenData token{};
  token.fill(std::byte{0x5A});
  connection_.setAuditToken(token);
  EXPECT_TRUE(isValid());
  EXPECT_THAT(services_.tokens(), ElementsAre(token));
}

TEST_F(CodesignCheckTest, ARequirementNamesTheMakersCertificateAsTheBuildWasTold) {
  EXPECT_THAT(std::string(SigningCertificate::commonName()), testing::StartsWith("Developer ID Application: "));
}

TEST_F(CodesignCheckTest, AProcessThatIsNotFoundIsRefusedBeforeAnythingElseIsAsked) {
  services_.setCodeStatus(code_signing_status::noSuchCode);
  EXPECT_FALSE(isValid());
  EXPECT_THAT(services_.calls(), ElementsAre("identify"));
}

TEST_F(CodesignCheckTest, ASuccessfulSearchThatFoundNothingIsARefusal) {
  services_.setCodeIsNull(true);
  EXPECT_FALSE(isValid());
  EXPECT_THAT(services_.calls(), ElementsAre("identify"));
}

TEST_F(CodesignCheckTest, AFileWhoseSignatureCannotBeReadIsRefused) {
  services_.setInformationStatus(code_signing_status::signatureFailed);
  EXPECT_FALSE(isValid());
  EXPECT_EQ(lastCall(), "information");
}

TEST_F(CodesignCheckTest, ASignatureWithoutFlagsIsRefused) {
  services_.setInformation({std::nullopt, EntitlementsDictionary{}});
  EXPECT_FALSE(isValid());
  EXPECT_EQ(lastCall(), "information");
}

TEST_F(CodesignCheckTest, AClientThatIsNotHardenedIsRefusedBeforeItsRequirementIsEvaluated) {
  services_.setInformation({0xFFFEFFFFU, EntitlementsDictionary{}});
  EXPECT_FALSE(isValid());
  EXPECT_EQ(lastCall(), "information");
}

TEST_F(CodesignCheckTest, TheHardenedRuntimesBitIsLookedAtAmongOthers) {
  services_.setInformation({0xFFFFFFFFU, EntitlementsDictionary{}});
  EXPECT_TRUE(isValid());
}

TEST_F(CodesignCheckTest, AClientWithoutEntitlementsIsRefused) {
  services_.setInformation({admission::SignatureFacts::hardenedRuntime, std::nullopt});
  EXPECT_FALSE(isValid());
  EXPECT_EQ(lastCall(), "information");
}

TEST_F(CodesignCheckTest, OtherEntitlementsAreNotLookedAt) {
  entitle({{"net.orvane.something", true}, {"net.orvane.text", NonNumericValue{}}});
  EXPECT_TRUE(isValid());
}

TEST_F(CodesignCheckTest, ARequirementThatDoesNotCompileIsARefusal) {
  services_.setRequirementStatus(code_signing_status::requirementInvalid);
  EXPECT_FALSE(isValid());
  EXPECT_EQ(lastCall(), "meets " + requirement());
}

TEST_F(CodesignCheckTest, AClientThatIsNotValidOrDoesNotMeetTheRequirementIsRefused) {
  for (const CodeSigningStatus status : {code_signing_status::requirementFailed, code_signing_status::staticCodeChanged,
                                         code_signing_status::guestInvalid, CodeSigningStatus{1}}) {
    services_.setRequirementStatus(status);
    EXPECT_FALSE(isValid()) << status;
  }
}

TEST_F(CodesignCheckTest, AnEarlierClientsAnswerIsNotKept) {
  EXPECT_TRUE(isValid());
  services_.setRequirementStatus(code_signing_status::requirementFailed);
  EXPECT_FALSE(isValid());
  services_.setRequirementStatus(code_signing_status::success);
  EXPECT_TRUE(isValid());
}

class ProblematicEntitlementTest : public CodesignCheckTest, public testing::WithParamInterface<const char*> {};
INSTANTIATE_TEST_SUITE_P(All, ProblematicEntitlementTest,
                         testing::Values(getTaskAllow, disableLibraryValidation, allowDyldEnvironmentVariables));

TEST_P(ProblematicEntitlementTest, ThatIsTrueOrOneRefusesTheClientBeforeItsRequirementIsEvaluated) {
  for (const EntitlementValue& value :
       {EntitlementValue(true), EntitlementValue(std::int64_t{1}), EntitlementValue(1.0)}) {
    entitle({{GetParam(), value}});
    EXPECT_FALSE(isValid()) << value.index();
    EXPECT_EQ(lastCall(), "information");
  }
}

TEST_P(ProblematicEntitlementTest, ThatIsFalseOrAnotherNumberPasses) {
  for (const EntitlementValue& value :
       {EntitlementValue(false), EntitlementValue(std::int64_t{0}), EntitlementValue(std::int64_t{2}),
        EntitlementValue(std::int64_t{-1}), EntitlementValue(0.0), EntitlementValue(2.0)}) {
    entitle({{GetParam(), value}});
    EXPECT_TRUE(isValid()) << value.index();
  }
}

using ProblematicEntitlementDeathTest = ProblematicEntitlementTest;
INSTANTIATE_TEST_SUITE_P(All, ProblematicEntitlementDeathTest,
                         testing::Values(getTaskAllow, disableLibraryValidation, allowDyldEnvironmentVariables));

TEST_P(ProblematicEntitlementDeathTest, ThatIsNoNumberEndsTheProcess) {
  entitle({{GetParam(), NonNumericValue{}}});
  EXPECT_DEATH((void)isValid(), std::string("Fatal error: .*") + GetParam());
}

TEST_P(ProblematicEntitlementDeathTest, ThatIsNoWholeNumberEndsTheProcess) {
  for (const double value : {1.5, 1e300, std::numeric_limits<double>::quiet_NaN()}) {
    entitle({{GetParam(), value}});
    EXPECT_DEATH((void)isValid(), std::string("Fatal error: .*") + GetParam());
  }
}

TEST_F(CodesignCheckTest, TheFirstEntitlementThatIsSetDecidesBeforeALaterOneIsLookedAt) {
  entitle({{getTaskAllow, true},
           {disableLibraryValidation, NonNumericValue{}},
           {allowDyldEnvironmentVariables, NonNumericValue{}}});
  EXPECT_FALSE(isValid());
  entitle({{disableLibraryValidation, true}, {allowDyldEnvironmentVariables, NonNumericValue{}}});
  EXPECT_FALSE(isValid());
}

}  // namespace
}  // namespace wicket
