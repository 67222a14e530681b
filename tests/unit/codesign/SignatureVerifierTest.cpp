// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <ctime>
#include <filesystem>
#include <set>
#include <unistd.h>

#include "codesign/requirement/RequirementEvaluator.h"
#include "codesign/requirement/RequirementParser.h"
#include "codesign/signature/CmsSignature.h"
#include "codesign/signature/SignatureVerifier.h"
#include "tests/support/Program.h"
#include "tests/unit/codesign/SignedFiles.h"

namespace wicket::codesign {
namespace {

using support::authorityRecipe;
using support::CertificateRecipe;
using support::leafRecipe;
using support::TestChain;

constexpr char commonName[] = "Developer ID Application: Wicket Development (DEVELOPER0)";
const std::string companionRequirement =
    std::string("anchor apple generic and identifier \"net.orvane.Wicket\" and certificate leaf[subject.CN] = \"") +
    commonName + "\"";

class SignatureVerifierTest : public SignedFiles {
 protected:
  /// A valid signature must meet the requirement to let anybody in.
  [[nodiscard]] static bool meets(const FileSignature& signature, const support::TestCertificate& root) {
    const PropertyDictionary none;
    const std::set<Sha256Digest> roots{certificateOf(root).sha256()};
    return isMet(RequirementParser::parse(companionRequirement).value(),
                 {signature.directory.identifier, signature.chain, none, none, roots});
  }
  [[nodiscard]] bool isCompanion(const std::string& path) const {
    const auto signature = verify(path);
    EXPECT_TRUE(signature);
    return signature && meets(*signature, chain_.root);
  }
  [[nodiscard]] bool isCompanionNamed(const std::vector<support::SubjectPart>& subject) {
    CertificateRecipe leaf;
    leaf.subject = subject;
    CertificateRecipe authority = authorityRecipe(commonName);
    authority.subject.push_back({"O", "Authority"});
    chain_ = TestChain::make(authorityRecipe(commonName), authority, leaf);
    return isCompanion(signedFile(request_));
  }
  /// What a signature over any code directory makes of a program.
  [[nodiscard]] std::string fileWithDirectory(const CodeDirectory& directory) const {
    return fileWithContent(directory.toPropertyList().value());
  }
  [[nodiscard]] std::string fileWithContent(std::span<const std::byte> content) const {
    const auto message = CmsSignature::sign(content, identityOf(chain_)).value();
    return fileWith(script + textOf(message) + textOf(SignatureTrailer{message.size()}.encode()), "made");
  }
  [[nodiscard]] static CodeDirectory directoryOfScript() {
    CodeDirectory directory{"net.orvane.Wicket", 0x10000, std::nullopt, {}, std::string_view(script).size()};
    return directory;
  }
};

TEST_F(SignatureVerifierTest, TheCompanionMeetsTheRequirement) { EXPECT_TRUE(isCompanion(signedFile(request_))); }

TEST_F(SignatureVerifierTest, AnUnsignedCopyIsRefused) {
  EXPECT_EQ(failureOf(fileWith(script)), SigningFailure::notSigned);
}

TEST_F(SignatureVerifierTest, ACopySignedByAnotherRootIsRefused) {
  EXPECT_EQ(failureOf(signedFile(request_, identityOf(TestChain::developerId()))), SigningFailure::chainNotToAnchor);
}

TEST_F(SignatureVerifierTest, TheRightChainWithAWrongCommonNameDoesNotMeetTheRequirement) {
  EXPECT_FALSE(isCompanionNamed({{"CN", "Developer ID Application: Another (DEVELOPER0)"}}));
  EXPECT_FALSE(isCompanionNamed({{"CN", std::string(commonName) + " "}}));
  EXPECT_TRUE(isCompanionNamed({{"CN", commonName}}));
}

TEST_F(SignatureVerifierTest, ACommonNameInTheIssuerOnlyDoesNotMeetTheRequirement) {
  EXPECT_FALSE(isCompanionNamed({{"O", commonName}}));
}

TEST_F(SignatureVerifierTest, ACommonNameGivenTwiceCountsAsTheLast) {
  EXPECT_FALSE(isCompanionNamed({{"CN", commonName}, {"CN", "Another"}}));
  EXPECT_TRUE(isCompanionNamed({{"CN", "Another"}, {"CN", commonName}}));
}

TEST_F(SignatureVerifierTest, ACommonNameWithAnEmbeddedNulDoesNotMeetTheRequirement) {
  const std::string nul(1, '\0');
  const std::string name = commonName;
  EXPECT_FALSE(isCompanionNamed({{"CN", name + nul}}));
  EXPECT_FALSE(isCompanionNamed({{"CN", name + nul + " Another"}}));
  EXPECT_FALSE(isCompanionNamed({{"CN", nul + name}}));
}

TEST_F(SignatureVerifierTest, TheRightNameWithAWrongIdentifierDoesNotMeetTheRequirement) {
  for (const char* identifier : {"net.orvane.wicket", "net.orvane.Wicket2", "net.orvane.Wicke"}) {
    EXPECT_FALSE(isCompanion(signedFile({identifier, 0x10000, PropertyDictionary{}}))) << identifier;
  }
}

TEST_F(SignatureVerifierTest, AMissingRuntimeFlagIsSeen) {
  const auto signature = verify(signedFile({"net.orvane.Wicket", 0xFFFEFFFF, PropertyDictionary{}}));
  ASSERT_TRUE(signature);
  EXPECT_EQ(signature->directory.flags & CodeDirectory::runtimeFlag, 0U);
}

TEST_F(SignatureVerifierTest, EntitlementsKeepTheirTypes) {
  PropertyDictionary entitlements;
  entitlements.emplace("true", PropertyValue(true));
  entitlements.emplace("false", PropertyValue(false));
  entitlements.emplace("1", PropertyValue(1));
  entitlements.emplace("0", PropertyValue(0));
  entitlements.emplace("2", PropertyValue(2));
  entitlements.emplace("1.0", PropertyValue(1.0));
  entitlements.emplace("text", PropertyValue("1"));
  entitlements.emplace("data", PropertyValue(PropertyData{std::byte{1}}));
  entitlements.emplace("array", PropertyValue(PropertyArray{PropertyValue(true), PropertyValue(1)}));
  entitlements.emplace("dictionary", PropertyValue(PropertyDictionary{}));
  const auto signature = verify(signedFile({"net.orvane.Wicket", 0x10000, entitlements}));
  ASSERT_TRUE(signature) << textOf(signature.error());
  EXPECT_EQ(signature->directory.entitlements, entitlements);
  const auto& read = *signature->directory.entitlements;
  EXPECT_NE(read.at("true").as<bool>(), nullptr);
  EXPECT_NE(read.at("1").as<std::int64_t>(), nullptr);
  EXPECT_EQ(read.at("1").as<bool>(), nullptr);
  EXPECT_NE(read.at("1.0").as<double>(), nullptr);
  EXPECT_FALSE(read.contains("absent"));
}

TEST_F(SignatureVerifierTest, NoEntitlementsAtAllAreNotAnEmptyDictionary) {
  EXPECT_EQ(verify(signedFile({"net.orvane.Wicket", 0, std::nullopt}))->directory.entitlements, std::nullopt);
  EXPECT_EQ(verify(signedFile({"net.orvane.Wicket", 0, PropertyDictionary{}}))->directory.entitlements,
            PropertyDictionary{});
}

TEST_F(SignatureVerifierTest, AnAlteredByteInTheCodeIsRefused) {
  const std::string original = contentOf(signedFile(request_));
  for (std::size_t index = 0; index < std::string_view(script).size(); ++index) {
    std::string altered = original;
    altered[index] ^= 1;
    EXPECT_EQ(failureOf(fileWith(altered)), SigningFailure::fileAltered) << index;
  }
}

TEST_F(SignatureVerifierTest, AnAlteredByteInTheCodeDirectoryIsRefused) {
  std::string altered = contentOf(signedFile(request_));
  altered.at(altered.find("net.orvane.Wicket")) = 'm';
  EXPECT_EQ(failureOf(fileWith(altered)), SigningFailure::signatureWrong);
}

// Each byte of the message and the trailer. A short chain keeps the block small and the test quick.
TEST_F(SignatureVerifierTest, NoAlteredByteInTheBlockChangesWhatIsVerified) {
  const support::TestCertificate leaf = chain_.root.issue(leafRecipe("Leaf"));
  const std::string original = contentOf(signedFile(request_, identityWith({leaf})));
  const auto expected = verify(pathOf("program"));
  ASSERT_TRUE(expected);
  std::size_t accepted = 0;
  for (std::size_t index = std::string_view(script).size(); index < original.size(); ++index) {
    std::string altered = original;
    altered[index] = static_cast<char>(altered[index] ^ (index % 2 == 0 ? '\x01' : '\x80'));
    const auto signature = verify(fileWith(altered));
    if (!signature) continue;
    ++accepted;
    EXPECT_EQ(signature->directory, expected->directory) << index;
    EXPECT_EQ(signature->chain.certificates(), expected->chain.certificates()) << index;
  }
  // What nothing signs is little: the numbers of versions, and what may be absent.
  EXPECT_LE(accepted, 16U);
}

TEST_F(SignatureVerifierTest, ATruncatedBlockIsRefused) {
  const std::string original = contentOf(signedFile(request_));
  for (std::size_t length = 0; length < original.size(); length += 7) {
    EXPECT_EQ(failureOf(fileWith(original.substr(0, length))), SigningFailure::notSigned) << length;
  }
}

TEST_F(SignatureVerifierTest, BytesMissingFromTheBeginningAreRefused) {
  const std::string original = contentOf(signedFile(request_));
  EXPECT_EQ(failureOf(fileWith(original.substr(1))), SigningFailure::coveredLengthWrong);
}

TEST_F(SignatureVerifierTest, BytesBehindTheBlockAreRefused) {
  EXPECT_EQ(failureOf(fileWith(contentOf(signedFile(request_)) + "\n")), SigningFailure::notSigned);
}

TEST_F(SignatureVerifierTest, TwoBlocksAreRefused) {
  const std::string original = contentOf(signedFile(request_));
  const std::string block = original.substr(std::string_view(script).size());
  EXPECT_EQ(failureOf(fileWith(original + block)), SigningFailure::severalBlocks);
}

TEST_F(SignatureVerifierTest, AnotherProgramsBlockIsRefused) {
  const std::string block = contentOf(signedFile(request_)).substr(std::string_view(script).size());
  EXPECT_EQ(failureOf(fileWith("#!/bin/sh\nexit 0\n" + block)), SigningFailure::fileAltered);
  EXPECT_EQ(failureOf(fileWith("#!/bin/sh\nexit 77\n" + block)), SigningFailure::coveredLengthWrong);
}

TEST_F(SignatureVerifierTest, ACoveredLengthThatIsNotTheProgramsIsRefused) {
  for (const std::uint64_t length : {std::uint64_t{0}, std::uint64_t{16}, std::uint64_t{18}, std::uint64_t{1} << 62}) {
    CodeDirectory directory = directoryOfScript();
    directory.coveredLength = length;
    EXPECT_EQ(failureOf(fileWithDirectory(directory)), SigningFailure::coveredLengthWrong) << length;
  }
}

TEST_F(SignatureVerifierTest, ASignedContentThatIsNoCodeDirectoryIsRefused) {
  EXPECT_EQ(failureOf(fileWithContent(bytesOf("hello"))), SigningFailure::codeDirectoryMalformed);
}

TEST_F(SignatureVerifierTest, AStrippedFileIsRefusedWithTheReason) {
  std::filesystem::copy_file("/bin/true", pathOf("program"));
  ASSERT_TRUE(Signer::sign(pathOf("program"), request_, identityOf(chain_)));
  ASSERT_TRUE(verify(pathOf("program")));
  const support::Program strip = support::Program::run({"strip", pathOf("program")});
  ASSERT_EQ(strip.status, 0) << strip.errors;
  const auto failure = failureOf(pathOf("program"));
  ASSERT_EQ(failure, SigningFailure::notSigned);
  EXPECT_NE(textOf(*failure).find("stripped"), std::string_view::npos);
}

TEST_F(SignatureVerifierTest, TenGigabytesAreRefusedBeforeAByteOfThemIsHashed) {
  constexpr off_t length = 10'000'000'000;
  CodeDirectory directory = directoryOfScript();
  directory.coveredLength = length;
  const auto message = CmsSignature::sign(directory.toPropertyList().value(), identityOf(chain_)).value();
  const std::string block = textOf(message) + textOf(SignatureTrailer{message.size()}.encode());
  const Descriptor file(::open(pathOf("large").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0755));
  ASSERT_EQ(::ftruncate(file.get(), length), 0);
  ASSERT_EQ(::pwrite(file.get(), block.data(), block.size(), length), static_cast<ssize_t>(block.size()));
  EXPECT_TRUE(SignatureVerifier::readSignature(file.get(), certificateOf(chain_.root)));
  const std::clock_t before = std::clock();
  EXPECT_EQ(failureOf(pathOf("large")), SigningFailure::fileTooLarge);
  EXPECT_FALSE(Signer::sign(pathOf("large"), request_, identityOf(chain_)));
  // Hashing them takes several seconds of any processor.
  EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC);
}

TEST_F(SignatureVerifierTest, TheCallersLimitIncludesItself) {
  const std::string path = signedFile(request_);
  constexpr std::uint64_t length = std::string_view(script).size();
  const Certificate anchor = certificateOf(chain_.root);
  EXPECT_TRUE(SignatureVerifier::verify(opened(path).get(), anchor, length));
  EXPECT_EQ(SignatureVerifier::verify(opened(path).get(), anchor, length - 1).error(), SigningFailure::fileTooLarge);
}

TEST_F(SignatureVerifierTest, AnExpiredLeafIsAcceptedAndOneThatIsNotYetValidIsNot) {
  CertificateRecipe leaf = leafRecipe("Leaf");
  leaf.validFrom = -std::chrono::hours(48);
  leaf.validTo = -std::chrono::hours(24);
  chain_ = TestChain::make(authorityRecipe("Root"), authorityRecipe("Authority"), leaf);
  const auto expired = verify(signedFile(request_));
  ASSERT_TRUE(expired) << textOf(expired.error());
  EXPECT_TRUE(expired->hasExpired);
  leaf.validFrom = std::chrono::hours(1);
  leaf.validTo = std::chrono::hours(24);
  chain_ = TestChain::make(authorityRecipe("Root"), authorityRecipe("Authority"), leaf);
  EXPECT_EQ(failureOf(signedFile(request_)), SigningFailure::certificateNotYetValid);
}

TEST_F(SignatureVerifierTest, EveryFailureHasATextOfItsOwn) {
  std::set<std::string_view> texts;
  for (int failure = 0; failure <= static_cast<int>(SigningFailure::fileAltered); ++failure) {
    const auto text = textOf(static_cast<SigningFailure>(failure));
    EXPECT_FALSE(text.empty() || text.ends_with('.')) << text;
    EXPECT_TRUE(texts.insert(text).second) << text;
  }
}

}  // namespace
}  // namespace wicket::codesign
