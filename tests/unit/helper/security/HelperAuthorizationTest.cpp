// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors

#include <cstddef>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "helper/security/HelperAuthorization.h"
#include "tests/doubles/ScriptedAuthorizationServices.h"

namespace wicket {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

HelperProtocol::AuthorizationData dataOfLength(std::size_t length) {
  return std::vector<std::byte>(length, std::byte{7});
}

class HelperAuthorizationTest : public testing::Test {
 protected:
  /// The text of the failure, or "verified".
  std::string verify(const HelperProtocol::AuthorizationData& data,
                     const Selector& command = helper_protocol::installScript) {
    const auto verified = HelperAuthorization::verifyAuthorization(services_, data, command, [this] {
      ++timesAskedForDetails_;
      return AuthorizationDetails{{"file", "\"a.sh\""}};
    });
    return verified.has_value() ? "verified" : verified.error().message;
  }

  doubles::ScriptedAuthorizationServices services_;
  int timesAskedForDetails_ = 0;
};

class MalformedAuthorizationDataTest : public HelperAuthorizationTest,
                                       public testing::WithParamInterface<HelperProtocol::AuthorizationData> {};

TEST_P(MalformedAuthorizationDataTest, IsInvalidAndThePlatformIsNeverCalled) {
  EXPECT_EQ(verify(GetParam()), "Invalid Authorization External Form Data");
  EXPECT_FALSE(services_.wasCalled());
  EXPECT_EQ(timesAskedForDetails_, 0);
}

INSTANTIATE_TEST_SUITE_P(AbsentEmpty31And33BytesAndAMebibyte, MalformedAuthorizationDataTest,
                         testing::Values(std::nullopt, dataOfLength(0), dataOfLength(31), dataOfLength(33),
                                         dataOfLength(1U << 20U)));

TEST_F(HelperAuthorizationTest, AGrantedRightVerifies) {
  EXPECT_EQ(verify(dataOfLength(32)), "verified");
  ASSERT_THAT(services_.requests(), SizeIs(1));
  EXPECT_EQ(services_.requests().front().rightName,
            "net.orvane.Wicket.TlvPrivilegedHelper.installScriptAt:authData:completion:");
}

TEST_F(HelperAuthorizationTest, TheQuestionShowsTheDetails) {
  EXPECT_EQ(verify(dataOfLength(32)), "verified");
  EXPECT_EQ(timesAskedForDetails_, 1);
  ASSERT_THAT(services_.requests(), SizeIs(1));
  EXPECT_EQ(services_.requests().front().details, (AuthorizationDetails{{"file", "\"a.sh\""}}));
}

TEST_F(HelperAuthorizationTest, TheClientsBytesReachThePlatformUnchanged) {
  auto data = dataOfLength(32);
  for (std::size_t i = 0; i < 32; ++i) (*data)[i] = static_cast<std::byte>(i * 7);
  EXPECT_EQ(verify(data), "verified");
  ASSERT_THAT(services_.forms(), SizeIs(1));
  EXPECT_TRUE(std::ranges::equal(services_.forms().front(), *data));
}

TEST_F(HelperAuthorizationTest, ARejectedExternalFormGivesThePlatformsTextInItsOptionalForm) {
  services_.setCreationStatus(authorization_status::denied);
  EXPECT_EQ(verify(dataOfLength(32)), "Optional(The authorization was denied.)");
  EXPECT_THAT(services_.requests(), IsEmpty());
  EXPECT_EQ(timesAskedForDetails_, 0);
}

TEST_F(HelperAuthorizationTest, ACancelledDialogGivesThePlatformsCancellationText) {
  services_.setRightsStatus(authorization_status::canceled);
  EXPECT_EQ(verify(dataOfLength(32)), "Optional(The authorization was canceled by the user.)");
}

TEST_F(HelperAuthorizationTest, AStatusForWhichThePlatformHasNoTextPrintsAsNil) {
  services_.setRightsStatus(-1);
  EXPECT_EQ(verify(dataOfLength(32)), "nil");
}

TEST_F(HelperAuthorizationTest, ANullReferenceAfterSuccessIsAFailedConversion) {
  services_.setCreationGivesNullReference(true);
  EXPECT_EQ(verify(dataOfLength(32)),
            "Failed to convert the Authorization External Form to an Authorization Reference");
}

class UnguardedCommandTest : public HelperAuthorizationTest, public testing::WithParamInterface<Selector> {};

TEST_P(UnguardedCommandTest, HasNoRightAndSaysForWhichSelector) {
  EXPECT_FALSE(HelperAuthorization::authorizationRight(GetParam()).has_value());
  EXPECT_EQ(verify(dataOfLength(32), GetParam()),
            "Failed to get the correct authorization right for command: " + std::string(GetParam().text));
  EXPECT_THAT(services_.requests(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(EverySelectorButTheInstallation, UnguardedCommandTest,
                         testing::Values(helper_protocol::getVersion, helper_protocol::runCommand,
                                         helper_protocol::uninstall, helper_protocol::uninstallScriptAt,
                                         helper_protocol::uninstallScriptWithFilename));

TEST_F(HelperAuthorizationTest, TheReferenceIsKeptForTheLifeOfTheProcess) {
  const std::vector<std::byte> data(32);
  std::weak_ptr<AuthorizationReference> reference;
  {
    const auto made = HelperAuthorization::authorizationRef(services_, data);
    ASSERT_TRUE(made.has_value());
    reference = *made;
  }
  EXPECT_FALSE(reference.expired());
}

TEST(HelperAuthorizationRightsTest, TheTableHoldsExactlyTheInstallationsRight) {
  const auto& rights = HelperAuthorization::authorizationRights();
  ASSERT_THAT(rights, SizeIs(1));
  const auto& right = rights.front();
  EXPECT_EQ(right.command, helper_protocol::installScript);
  EXPECT_EQ(right.name, "net.orvane.Wicket.TlvPrivilegedHelper.installScriptAt:authData:completion:");
  EXPECT_EQ(right.description, "Tolvern wants to install a privileged script in a safe location.");
  const HelperAuthorizationRight::Rule rule{{"class", "user"}, {"group", "admin"}, {"version", 1}};
  EXPECT_EQ(right.ruleCustom, rule);
  EXPECT_EQ(right.ruleConstant, std::nullopt);
}

struct PrintedError {
  std::string message;
  std::string printed;
};

class HelperAuthorizationErrorTest : public testing::TestWithParam<PrintedError> {};

TEST_P(HelperAuthorizationErrorTest, PrintsAsItsCaseWithTheTextQuotedAndEscaped) {
  EXPECT_EQ(HelperAuthorizationError{GetParam().message}.description(), GetParam().printed);
}

INSTANTIATE_TEST_SUITE_P(Texts, HelperAuthorizationErrorTest,
                         testing::Values(PrintedError{"", R"_(message(""))_"},
                                         PrintedError{"Optional(The authorization was denied.)",
                                                      R"_(message("Optional(The authorization was denied.)"))_"},
                                         PrintedError{"a\"b\\c'd", R"_(message("a\"b\\c\'d"))_"},
                                         PrintedError{std::string("\0\t\n\r", 4), R"_(message("\0\t\n\r"))_"},
                                         PrintedError{"\x1B\x7F", R"_(message("\u{1B}\u{7F}"))_"},
                                         PrintedError{"caf\u00E9", "message(\"caf\u00E9\")"}));

}  // namespace
}  // namespace wicket
