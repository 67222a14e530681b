// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <csignal>
#include <gmock/gmock.h>
#include <sys/wait.h>

#include "tests/integration/SignatureAttackTest.h"
#include "tests/support/Program.h"

namespace wicket::integration {
namespace {

using namespace std::chrono_literals;
using support::Program;
using ::testing::HasSubstr;

constexpr char identity[] = "/run/identity";

/// Signatures that hold, of the wrong person or for the wrong thing.
class SignerAttackTest : public SignatureAttackTest {
 protected:
  /// Another root, with an authority and a signer named as they are called in the genuine chain.
  static void makeIdentity() {
    const auto made = Program::run({CompanionStage::identityMaker(), identity, WICKET_COMMON_NAME, WICKET_TEAM});
    ASSERT_EQ(made.status, 0) << made.errors;
  }
  static Signing byTheOther(const std::string& certificates = "chain.pem") {
    return {.key = identity + std::string("/leaf.key"), .certificates = identity + std::string("/") + certificates};
  }
  /// A signer of that name below the genuine authority.
  static Signing namedSigner(const std::string& commonName) {
    const std::string authority = CompanionStage::authority(".pem").value();
    writeFile("/run/extensions",
              "[req]\ndistinguished_name = empty\n[empty]\n[leaf]\nbasicConstraints = critical,CA:FALSE\n"
              "keyUsage = critical,digitalSignature\nextendedKeyUsage = critical,codeSigning\n"
              "1.2.840.113635.100.6.1.13 = critical,DER:05:00\n");
    const auto made = Program::run({"env",
                                    "OPENSSL_CONF=/run/extensions",
                                    "openssl",
                                    "req",
                                    "-x509",
                                    "-newkey",
                                    "ec",
                                    "-pkeyopt",
                                    "ec_paramgen_curve:P-256",
                                    "-nodes",
                                    "-days",
                                    "1",
                                    "-extensions",
                                    "leaf",
                                    "-CA",
                                    authority,
                                    "-CAkey",
                                    CompanionStage::authority(".key").value(),
                                    "-subj",
                                    "/CN=" + commonName + "/OU=" WICKET_TEAM,
                                    "-keyout",
                                    "/run/signer.key",
                                    "-out",
                                    "/run/signer.pem"});
    EXPECT_EQ(made.status, 0) << made.errors;
    writeFile("/run/signer-chain.pem", readFile("/run/signer.pem") + readFile(authority));
    return {.key = "/run/signer.key", .certificates = "/run/signer-chain.pem"};
  }
  static Signing withEntitlements(const std::string& content) {
    writeFile("/run/entitlements", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>" +
                                       content + "</dict>\n</plist>\n");
    return {.entitlements = "/run/entitlements"};
  }
};

TEST_F(SignerAttackTest, ACopySignedByAnotherRootIsRefused) {
  makeIdentity();
  install(byTheOther());
  expectCopyRefused();
  // Nor is it enough to bring along no root, or to begin with the genuine one's name.
  install(byTheOther("leaf.pem"));
  expectCopyRefused();
}

TEST_F(SignerAttackTest, TheRightChainWithAWrongCommonNameIsRefused) {
  if (!CompanionStage::authority(".key")) GTEST_SKIP() << "the key of the companion's authority is not at hand";
  install(namedSigner("Developer ID Application\\: Somebody Else (" WICKET_TEAM ")"));
  expectCopyRefused();
  install(namedSigner(WICKET_COMMON_NAME " "));
  expectCopyRefused();
  // It is the name and nothing else that was wrong.
  install(namedSigner(WICKET_COMMON_NAME));
  expectCopyServed();
}

TEST_F(SignerAttackTest, TheRightNameWithAWrongIdentifierIsRefused) {
  for (const char* identifier : {"net.orvane.Wicket2", "net.orvane.wicket", "net.orvane", "net.orvane.Wicket "}) {
    install({.identifier = identifier});
    expectCopyRefused();
  }
}

TEST_F(SignerAttackTest, AMissingRuntimeFlagIsRefused) {
  install({.isHardened = false});
  expectCopyRefused();
}

TEST_F(SignerAttackTest, NoEntitlementsAtAllAreRefused) {
  install({.entitlements = std::nullopt});
  expectCopyRefused();
}

class EntitlementAttackTest : public SignerAttackTest, public testing::WithParamInterface<std::string> {
 protected:
  static void installWith(const std::string& value) {
    install(withEntitlements("<key>com.apple.security." + GetParam() + "</key>" + value));
  }
};

INSTANTIATE_TEST_SUITE_P(All, EntitlementAttackTest,
                         testing::Values("get-task-allow", "cs.disable-library-validation",
                                         "cs.allow-dyld-environment-variables"),
                         [](const auto& entry) {
                           std::string name = entry.param;
                           std::erase_if(name, [](char c) { return c == '.' || c == '-'; });
                           return name;
                         });

TEST_P(EntitlementAttackTest, ThatIsTrueOrOneRefusesTheCompanion) {
  for (const char* value : {"<true/>", "<integer>1</integer>", "<real>1</real>"}) {
    installWith(value);
    expectCopyRefused();
  }
}

TEST_P(EntitlementAttackTest, ThatIsFalseZeroAbsentOrTwoDoesNot) {
  for (const char* value : {"<false/>", "<integer>0</integer>", "<integer>2</integer>", "<integer>-1</integer>"}) {
    installWith(value);
    expectCopyServed();
  }
  install(withEntitlements("<key>com.apple.security.network.client</key><true/>"));
  expectCopyServed();
}

TEST_F(SignerAttackTest, EntitlementsThatNobodyLooksAtMayHoldADateOrAnIntegerBeyond63Bits) {
  install(
      withEntitlements("<key>date</key><date>2026-01-31T12:00:00Z</date><key>list</key><array>"
                       "<date>2026-01-31T12:00:00Z</date><integer>18446744073709551615</integer></array>"));
  expectCopyServed();
}

/// Ends the helper on purpose, and so is no attack that the helper outlives.
class NonNumericEntitlementTest : public IntegrationTest, public testing::WithParamInterface<std::string> {};

INSTANTIATE_TEST_SUITE_P(All, NonNumericEntitlementTest,
                         testing::Values("<string>1</string>", "<array/>", "<dict/>", "<data/>",
                                         "<date>2026-01-31T12:00:00Z</date>",
                                         "<integer>18446744073709551615</integer>"),
                         [](const auto& entry) { return entry.param.substr(1, entry.param.find_first_of("/>") - 1); });

TEST_P(NonNumericEntitlementTest, EndsTheHelperAndTheNextConnectionGetsAFreshOne) {
  writeFile("/run/entitlements", "<plist version=\"1.0\"><dict><key>com.apple.security.get-task-allow</key>" +
                                     GetParam() + "</dict></plist>\n");
  ASSERT_TRUE(CompanionStage::installAsCompanion(CompanionStage::standIn(), "/run/copy",
                                                 {.entitlements = "/run/entitlements"}));
  writeFile("/run/call", "");
  support::StandIn client("/run/copy", {"connect", wire::socketPath, "request", "/run/call", "hear"});
  EXPECT_TRUE(client.awaitSaid("refused"));
  ASSERT_TRUE(activator().waitForEnds(1));
  const int status = activator().lives().front().waitStatus;
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT) << status;
  EXPECT_THAT(helperErrors(), HasSubstr("entitlement com.apple.security.get-task-allow is not a number"));
  const auto next = connectAndGreet();
  EXPECT_NE(helperPid(), 0);
  EXPECT_EQ(activator().lives().size(), 2U);
  // Said on purpose; everything else is still looked at when the test ends.
  std::filesystem::resize_file("/run/helper.errors", 0);
}

}  // namespace
}  // namespace wicket::integration
