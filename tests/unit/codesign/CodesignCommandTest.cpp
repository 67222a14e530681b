// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <cstdlib>
#include <filesystem>
#include <openssl/pem.h>
#include <sstream>
#include <sys/stat.h>

#include "codesign/command/CommandLine.h"
#include "codesign/command/PropertyJson.h"
#include "tests/support/Program.h"
#include "tests/unit/codesign/SignedFiles.h"

namespace wicket::codesign::command {
namespace {

using support::CertificateRecipe;
using support::Program;

class CodesignCommandTest : public SignedFiles {
 protected:
  struct Result {
    int status;
    std::string out;
    std::string err;
  };

  [[nodiscard]] Result run(std::vector<std::string> words) const {
    std::ostringstream out;
    std::ostringstream err;
    Output output(out, err);
    Context context{output, [this](const std::string&) { return secret_; }, sourceDateEpoch_};
    const int status = runCommandLine(std::move(words), context);
    return {status, out.str(), err.str()};
  }
  void writeIdentity(const support::TestChain& chain) {
    chain_ = chain;
    static_cast<void>(fileWith(chain.leaf.keyPem(), "key.pem"));
    static_cast<void>(fileWith(chain.pem(), "chain.pem"));
    static_cast<void>(fileWith(chain.root.pem(), "root.pem"));
  }
  void SetUp() override {
    writeIdentity(chain_);
    static_cast<void>(fileWith(script));
  }

  [[nodiscard]] std::vector<std::string> signWords(const std::vector<std::string>& more = {}) const {
    std::vector<std::string> words{
        "sign", "--key", pathOf("key.pem"), "--certificate", pathOf("chain.pem"), "--identifier", "net.orvane.Wicket"};
    words.insert(words.end(), more.begin(), more.end());
    words.push_back(pathOf("program"));
    return words;
  }
  [[nodiscard]] std::vector<std::string> verifyWords(const std::vector<std::string>& more = {}) const {
    std::vector<std::string> words{"verify", "--anchor", pathOf("root.pem")};
    words.insert(words.end(), more.begin(), more.end());
    words.push_back(pathOf("program"));
    return words;
  }
  static void expectOneProblem(const Result& result, const std::string& part) {
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(result.err.starts_with("wicket-codesign: ")) << result.err;
    EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
    EXPECT_NE(result.err.find(part), std::string::npos) << result.err;
  }

  std::optional<std::string> secret_;
  std::optional<std::string> sourceDateEpoch_;
};

TEST_F(CodesignCommandTest, ASignedFileIsValid) {
  const Result signing = run(signWords({"--options", "runtime"}));
  EXPECT_EQ(signing.status, 0) << signing.err;
  EXPECT_EQ(signing.out + signing.err, "");
  const Result verifying = run(verifyWords());
  EXPECT_EQ(verifying.status, 0) << verifying.err;
  EXPECT_EQ(verifying.out + verifying.err, "");
}

/// With an identity whose key signs the same bytes in the same way each time.
class ReproducibleSigningTest : public CodesignCommandTest {
 protected:
  void SetUp() override {
    CodesignCommandTest::SetUp();
    const Program making = Program::run({WICKET_MAKE_IDENTITY, "--rsa", pathOf("identity"), "Name", "TEAM"});
    ASSERT_EQ(making.status, 0) << making.output;
  }
  [[nodiscard]] Result sign() const {
    return run({"sign", "--key", pathOf("identity/leaf.key"), "--certificate", pathOf("identity/chain.pem"),
                "--identifier", "net.orvane.Wicket", pathOf("program")});
  }
  [[nodiscard]] std::string signedAt(const char* moment) {
    sourceDateEpoch_ = moment;
    const Result result = sign();
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(run({"verify", "--anchor", pathOf("identity/root.pem"), pathOf("program")}).status, 0);
    return contentOf(pathOf("program"));
  }
};

TEST_F(ReproducibleSigningTest, TheSameMomentGivesTheSameBytesAndAnotherOneGivesOthers) {
  const std::string first = signedAt("1000000000");
  EXPECT_NE(signedAt("1000000001"), first);
  EXPECT_EQ(signedAt("1000000000"), first);
  EXPECT_NE(first.find("010909014640Z"), std::string::npos);
}

TEST_F(ReproducibleSigningTest, WithoutAMomentThePresentOneIsNamed) {
  ASSERT_EQ(sign().status, 0);
  EXPECT_EQ(contentOf(pathOf("program")).find("010909014640Z"), std::string::npos);
}

TEST_F(ReproducibleSigningTest, AMomentThatIsNoneEndsWith1AndLeavesTheFileAsItWas) {
  for (const char* moment : {"", "yesterday", "-1", "1.5", "12 ", "2524608000", "99999999999999999999"}) {
    sourceDateEpoch_ = moment;
    const Result result = sign();
    EXPECT_EQ(result.status, 1) << moment;
    expectOneProblem(result, "SOURCE_DATE_EPOCH");
    EXPECT_EQ(contentOf(pathOf("program")), script);
  }
}

TEST_F(CodesignCommandTest, AnInvalidSignatureEndsWith1AndTheReason) {
  const Result unsignedFile = run(verifyWords());
  EXPECT_EQ(unsignedFile.status, 1);
  expectOneProblem(unsignedFile, "does not end with a signature block");
  ASSERT_EQ(run(signWords()).status, 0);
  std::string altered = contentOf(pathOf("program"));
  altered[3] ^= 1;
  static_cast<void>(fileWith(altered));
  const Result alteredFile = run(verifyWords());
  EXPECT_EQ(alteredFile.status, 1);
  expectOneProblem(alteredFile, "altered after it was signed");
}

TEST_F(CodesignCommandTest, ARequirementThatIsNotMetEndsWith3) {
  ASSERT_EQ(run(signWords()).status, 0);
  const std::string requirement =
      "anchor apple generic and identifier \"net.orvane.Wicket\" and certificate leaf[subject.OU] = DEVELOPER0";
  EXPECT_EQ(run(verifyWords({"--requirement", requirement})).status, 0);
  const Result result = run(verifyWords({"--requirement", "identifier \"net.orvane.Other\""}));
  EXPECT_EQ(result.status, 3);
  expectOneProblem(result, "does not meet");
}

TEST_F(CodesignCommandTest, ARequirementThatIsNoneEndsWith2AndItsPosition) {
  ASSERT_EQ(run(signWords()).status, 0);
  const Result result = run(verifyWords({"--requirement", "identifier = and"}));
  EXPECT_EQ(result.status, 2);
  expectOneProblem(result, "1:14: ");
}

TEST_F(CodesignCommandTest, DisplayShowsTheClaimsAndSaysThatNothingWasVerified) {
  static_cast<void>(fileWith(PropertyValue(PropertyDictionary{{"a.b", PropertyValue(true)}}).toXml(), "list"));
  ASSERT_EQ(run(signWords({"--options", "runtime", "--entitlements", pathOf("list")})).status, 0);
  const Result plain = run({"display", pathOf("program")});
  EXPECT_EQ(plain.status, 0);
  for (const char* part : {"Identifier: \"net.orvane.Wicket\"\n", "Flags: 0x10000 (runtime)\n", "  \"a.b\": true\n",
                           "Covers: 17 bytes\n", "Nothing of this was verified"}) {
    EXPECT_NE(plain.out.find(part), std::string::npos) << part << plain.out;
  }
  const Result verified = run({"display", "--anchor", pathOf("root.pem"), pathOf("program")});
  EXPECT_EQ(verified.status, 0) << verified.err;
  EXPECT_EQ(verified.out.find("Nothing of this"), std::string::npos);
}

TEST_F(CodesignCommandTest, DisplayWithAnAnchorShowsNothingOfAnInvalidSignature) {
  ASSERT_EQ(run(signWords()).status, 0);
  static_cast<void>(fileWith(support::TestChain::developerId().root.pem(), "root.pem"));
  const Result result = run({"display", "--anchor", pathOf("root.pem"), pathOf("program")});
  EXPECT_EQ(result.status, 1);
  expectOneProblem(result, "does not lead to the anchor");
}

TEST_F(CodesignCommandTest, DisplayInJsonKeepsTheTypesOfEntitlements) {
  const PropertyDictionary entitlements{{"flag", PropertyValue(true)},
                                        {"one", PropertyValue(1)},
                                        {"real", PropertyValue(1.0)},
                                        {"text", PropertyValue("a\"\n")},
                                        {"data", PropertyValue(PropertyData{std::byte{0xAB}})}};
  static_cast<void>(fileWith(PropertyValue(entitlements).toXml(), "list"));
  ASSERT_EQ(run(signWords({"--entitlements", pathOf("list")})).status, 0);
  const std::string json = run({"display", "--json", pathOf("program")}).out;
  EXPECT_NE(json.find("\"entitlements\": {\"data\": {\"data\": \"ab\"}, \"flag\": true, \"one\": 1, \"real\": 1.0, "
                      "\"text\": \"a\\\"\\u000a\"}"),
            std::string::npos)
      << json;
  EXPECT_NE(json.find("\"verified\": false}\n"), std::string::npos) << json;
  ASSERT_EQ(run(signWords()).status, 0);
  EXPECT_NE(run({"display", "--json", pathOf("program")}).out.find("\"entitlements\": null"), std::string::npos);
}

TEST_F(CodesignCommandTest, ADateAndAnIntegerBeyond63BitsAreSignedAsTheyAreWritten) {
  static_cast<void>(
      fileWith("<plist version=\"1.0\"><dict><!-- <a> <date>none</date> -->"
               "<key>beyond</key><integer>18446744073709551615</integer><key>list</key><array>"
               "<date>2026-01-31T12:00:00Z</date></array><key>minus</key><integer>-1</integer>"
               "</dict></plist>",
               "list"));
  const Result signing = run(signWords({"--entitlements", pathOf("list")}));
  ASSERT_EQ(signing.status, 0) << signing.err;
  const std::string json = run({"display", "--json", pathOf("program")}).out;
  EXPECT_NE(json.find("\"entitlements\": {\"beyond\": {\"xml\": \"<integer>18446744073709551615</integer>\"}, "
                      "\"list\": [{\"xml\": \"<date>2026-01-31T12:00:00Z</date>\"}], \"minus\": -1}"),
            std::string::npos)
      << json;
}

TEST_F(CodesignCommandTest, AValueThatCannotBeSignedAsItIsWrittenIsRefusedByItsKey) {
  for (const char* value :
       {"<integer>-9223372036854775809</integer>", "<integer>99999999999999999999</integer>", "<integer>one</integer>",
        "<integer/>", "<integer>-<!-- -->1</integer>", "<date>2026-02-31T00:00:00Z</date>", "<date>soon</date>",
        "<date>2026-01-31T12:00:00.5Z</date>", "<array><integer>-18446744073709551615</integer></array>"}) {
    static_cast<void>(
        fileWith("<plist version=\"1.0\"><dict><key>a</key><integer>18446744073709551615</integer>"
                 "<key>a.b</key>" +
                     std::string(value) + "<key>c</key><true/></dict></plist>",
                 "list"));
    const Result result = run(signWords({"--entitlements", pathOf("list")}));
    EXPECT_EQ(result.status, 1) << value;
    expectOneProblem(result, "The entitlement \"a.b\" has the ");
    EXPECT_EQ(contentOf(pathOf("program")), script) << value;
  }
}

TEST_F(CodesignCommandTest, SigningWithACertificateThatHasExpiredIsRefusedAndVerifyingWarns) {
  CertificateRecipe leaf = support::leafRecipe("Leaf");
  leaf.validFrom = -std::chrono::hours(48);
  leaf.validTo = -std::chrono::hours(24);
  writeIdentity(
      support::TestChain::make(support::authorityRecipe("Root"), support::authorityRecipe("Authority"), leaf));
  const Result signing = run(signWords());
  EXPECT_EQ(signing.status, 1);
  expectOneProblem(signing, "has expired");
  EXPECT_EQ(contentOf(pathOf("program")), script);
  static_cast<void>(signedFile(request_));
  const Result verifying = run(verifyWords());
  EXPECT_EQ(verifying.status, 0);
  EXPECT_TRUE(verifying.err.starts_with("wicket-codesign: warning: ")) << verifying.err;
}

TEST_F(CodesignCommandTest, SigningWithACertificateThatIsNotValidYetOrForOtherThingsIsRefused) {
  CertificateRecipe leaf = support::leafRecipe("Leaf");
  leaf.validFrom = std::chrono::hours(1);
  writeIdentity(
      support::TestChain::make(support::authorityRecipe("Root"), support::authorityRecipe("Authority"), leaf));
  expectOneProblem(run(signWords()), "is not valid yet");
  leaf = support::leafRecipe("Leaf");
  leaf.extendedKeyUsages = {"serverAuth"};
  writeIdentity(
      support::TestChain::make(support::authorityRecipe("Root"), support::authorityRecipe("Authority"), leaf));
  expectOneProblem(run(signWords()), "not meant for signing code");
}

TEST_F(CodesignCommandTest, AnEncryptedKeyNeedsItsPassphrase) {
  const BioObject file(BIO_new_file(pathOf("key.pem").c_str(), "wb"));
  ASSERT_EQ(
      PEM_write_bio_PKCS8PrivateKey(file.get(), chain_.leaf.key(), EVP_aes_256_cbc(), "secret", 6, nullptr, nullptr),
      1);
  ASSERT_EQ(BIO_flush(file.get()), 1);
  expectOneProblem(run(signWords()), "not opened by the passphrase");
  secret_ = "wrong";
  expectOneProblem(run(signWords()), "not opened by the passphrase");
  secret_ = "secret";
  EXPECT_EQ(run(signWords()).status, 0);
}

TEST_F(CodesignCommandTest, EachBadInputIsOneProblem) {
  static_cast<void>(fileWith("hello", "text"));
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
      {signWords({"--entitlements", pathOf("text")}), "holds no dictionary"},
      {signWords({"--entitlements", pathOf("none")}), "cannot be read"},
      {{"sign", "--key", pathOf("text"), "--certificate", pathOf("chain.pem"), "--identifier", "a", pathOf("program")},
       "holds no private key"},
      {{"sign", "--key", pathOf("key.pem"), "--certificate", pathOf("text"), "--identifier", "a", pathOf("program")},
       "holds no certificate"},
      {{"sign", "--key", pathOf("key.pem"), "--certificate", pathOf("."), "--identifier", "a", pathOf("program")},
       "certificate file cannot be read"},
      {{"sign", "--key", pathOf("key.pem"), "--certificate", pathOf("root.pem"), "--identifier", "a",
        pathOf("program")},
       "not that of the first certificate"},
      {{"sign", "--key", pathOf("key.pem"), "--certificate", pathOf("chain.pem"), "--identifier", "",
        pathOf("program")},
       "identifier is empty"},
      {{"verify", "--anchor", pathOf("text"), pathOf("program")}, "holds no certificate"},
      {{"verify", "--anchor", pathOf("root.pem"), pathOf("none")}, "cannot be opened"},
      {{"verify", "--anchor", pathOf("root.pem"), pathOf(".")}, "not a regular file"},
      {{"display", pathOf("text")}, "does not end with a signature block"},
  };
  for (const auto& [words, part] : cases) {
    const Result result = run(words);
    EXPECT_EQ(result.status, 1) << part;
    expectOneProblem(result, part);
  }
  EXPECT_EQ(contentOf(pathOf("program")), script);
}

TEST_F(CodesignCommandTest, HelpIsEverywhereAndUsageErrorsEndWith2) {
  for (const char* subcommand : {"sign", "verify", "display"}) {
    const Result result = run({subcommand, "--help"});
    EXPECT_EQ(result.status, 0) << subcommand;
    EXPECT_NE(result.out.find("Usage: wicket-codesign "), std::string::npos) << result.out;
  }
  EXPECT_TRUE(run({"--version"}).out.starts_with("wicket-codesign "));
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{}, {"bogus"}, {"sign"}, {"verify", "a"}, {"display"}, {"display", "--bogus", "a"}}) {
    const Result result = run(words);
    EXPECT_EQ(result.status, 2);
    expectOneProblem(result, "See: wicket-codesign --help");
  }
  EXPECT_EQ(run(signWords({"--options", "bogus"})).status, 2);
}

TEST_F(CodesignCommandTest, NoConfigurationOfOpenSslIsRead) {
  ASSERT_EQ(run(signWords()).status, 0);
  // Whoever opens it waits forever.
  ASSERT_EQ(::mkfifo(pathOf("openssl.cnf").c_str(), 0600), 0);
  for (const auto& words : {verifyWords(), signWords()}) {
    std::vector<std::string> command{"env", "OPENSSL_CONF=" + pathOf("openssl.cnf"), "OPENSSL_MODULES=/nonexistent",
                                     "SSL_CERT_FILE=" + pathOf("openssl.cnf"), WICKET_CODESIGN};
    command.insert(command.end(), words.begin(), words.end());
    const Program program = Program::run(command);
    EXPECT_EQ(program.status, 0) << program.errors;
  }
}

TEST_F(CodesignCommandTest, WithoutTheLibraryForPropertyListsThatIsSaid) {
  ASSERT_EQ(run(signWords()).status, 0);
  // Found first by the loader, and no libraries.
  for (const char* name : {"libplist-2.0.so.3", "libplist-2.0.so.4"}) static_cast<void>(fileWith("nothing", name));
  for (const auto& words : {verifyWords(), signWords()}) {
    std::vector<std::string> command{"env", "LD_LIBRARY_PATH=" + pathOf(""), WICKET_CODESIGN};
    command.insert(command.end(), words.begin(), words.end());
    const Program program = Program::run(command);
    EXPECT_NE(program.status, 0);
    expectOneProblem({program.status, program.output, program.errors},
                     "the library libplist-2.0 (packages libplist-2.0-4, libplist3) cannot be loaded: ");
  }
}

TEST_F(CodesignCommandTest, WithoutATerminalNoPassphraseIsAskedFor) {
  const BioObject file(BIO_new_file(pathOf("key.pem").c_str(), "wb"));
  ASSERT_EQ(
      PEM_write_bio_PKCS8PrivateKey(file.get(), chain_.leaf.key(), EVP_aes_256_cbc(), "secret", 6, nullptr, nullptr),
      1);
  ASSERT_EQ(BIO_flush(file.get()), 1);
  std::vector<std::string> command{"setsid", "--wait", WICKET_CODESIGN};
  const auto words = signWords();
  command.insert(command.end(), words.begin(), words.end());
  const Program program = Program::run(command);
  EXPECT_EQ(program.status, 1);
  expectOneProblem({program.status, program.output, program.errors}, "not opened by the passphrase");
}

TEST_F(CodesignCommandTest, TheDevelopmentIdentitySignsWhatItsRootAccepts) {
  const std::string name = "Developer ID Application: A/B+C, \\ \"D\" (DEVELOPER0)";
  const Program making = Program::run({WICKET_MAKE_IDENTITY, pathOf("identity"), name, "DEVELOPER0"});
  ASSERT_EQ(making.status, 0) << making.errors;
  const std::string folder = pathOf("identity/");
  ASSERT_EQ(run({"sign", "--key", folder + "leaf.key", "--certificate", folder + "chain.pem", "--identifier",
                 "net.orvane.Wicket", pathOf("program")})
                .status,
            0);
  const std::string requirement =
      "anchor apple generic and certificate 1[field.1.2.840.113635.100.6.2.6] and certificate "
      "leaf[field.1.2.840.113635.100.6.1.13] and certificate leaf[subject.OU] = DEVELOPER0";
  const Result result =
      run({"verify", "--anchor", folder + "root.pem", "--requirement", requirement, pathOf("program")});
  EXPECT_EQ(result.status, 0) << result.err;
  const auto leaf = Certificate::fromPem(contentOf(folder + "leaf.pem"));
  ASSERT_TRUE(leaf);
  EXPECT_EQ(leaf->subjectAttribute("CN"), name);
  for (const char* key : {"root.key", "intermediate.key", "leaf.key"}) {
    struct stat status{};
    ASSERT_EQ(::stat((folder + key).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U) << key;
  }
}

TEST_F(CodesignCommandTest, AnIdentityIsNeverReplaced) {
  std::filesystem::create_directory(pathOf("identity"));
  EXPECT_EQ(Program::run({WICKET_MAKE_IDENTITY, pathOf("identity"), "Name", "TEAM"}).status, 1);
  EXPECT_TRUE(std::filesystem::is_empty(pathOf("identity")));
}

/// A software token in the test's own folder.
class TokenTest : public CodesignCommandTest {
 protected:
  void SetUp() override {
    CodesignCommandTest::SetUp();
    std::filesystem::create_directory(pathOf("tokens"));
    static_cast<void>(fileWith("directories.tokendir = " + pathOf("tokens") + "\n", "softhsm.conf"));
    const Program making = softhsm({"--init-token", "--free", "--label", "test", "--pin", "1234", "--so-pin", "5678"});
    ASSERT_EQ(making.status, 0) << making.errors;
    const Program importing =
        softhsm({"--import", pathOf("key.pem"), "--token", "test", "--label", "signer", "--id", "01", "--pin", "1234"});
    ASSERT_EQ(importing.status, 0) << importing.errors;
  }
  [[nodiscard]] Program softhsm(const std::vector<std::string>& words) const {
    std::vector<std::string> command{"env", "SOFTHSM2_CONF=" + pathOf("softhsm.conf"), "softhsm2-util"};
    command.insert(command.end(), words.begin(), words.end());
    return Program::run(command);
  }
  /// The engine leaves its tables of functions behind when it is unloaded, which is not this program's leak.
  [[nodiscard]] Program signWithKey(const std::string& uri, const std::string& environment = "A=B") const {
    return Program::run(
        {"setsid", "--wait", "env", "ASAN_OPTIONS=detect_leaks=0", "SOFTHSM2_CONF=" + pathOf("softhsm.conf"),
         "PKCS11_MODULE_PATH=/usr/lib/softhsm/libsofthsm2.so", environment, WICKET_CODESIGN, "sign", "--key", uri,
         "--certificate", pathOf("chain.pem"), "--identifier", "net.orvane.Wicket", pathOf("program")});
  }
};

TEST_F(TokenTest, AKeyOnATokenSigns) {
  const Program signing = signWithKey("pkcs11:token=test;object=signer;type=private?pin-value=1234");
  ASSERT_EQ(signing.status, 0) << signing.errors;
  EXPECT_EQ(run(verifyWords()).status, 0);
}

TEST_F(TokenTest, AKeyThatTheTokenDoesNotGiveIsOneProblemWithoutThePin) {
  for (const char* uri : {"pkcs11:token=test;object=none;type=private?pin-value=1234",
                          "pkcs11:token=test;object=signer;type=private?pin-value=9999",
                          "pkcs11:token=test;object=signer;type=private"}) {
    const Program signing = signWithKey(uri);
    EXPECT_EQ(signing.status, 1);
    expectOneProblem({signing.status, signing.output, signing.errors}, "token gave no such private key");
    EXPECT_EQ(signing.errors.find("pin-value"), std::string::npos);
  }
}

TEST_F(TokenTest, AMissingModuleIsOneProblem) {
  const Program signing = signWithKey("pkcs11:object=signer", "OPENSSL_ENGINES=/nonexistent");
  EXPECT_EQ(signing.status, 1);
  expectOneProblem({signing.status, signing.output, signing.errors}, "no module for PKCS#11 tokens");
}

TEST(PropertyJsonTest, NumbersKeepTheirKind) {
  EXPECT_EQ(jsonOf(PropertyValue(1)), "1");
  EXPECT_EQ(jsonOf(PropertyValue(1.0)), "1.0");
  EXPECT_EQ(jsonOf(PropertyValue(PropertyArray{PropertyValue(false), PropertyValue("x")})), "[false, \"x\"]");
}

}  // namespace
}  // namespace wicket::codesign::command
