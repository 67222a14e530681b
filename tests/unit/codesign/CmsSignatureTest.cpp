// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>
#include <openssl/ec.h>
#include <openssl/rsa.h>

#include "codesign/certificate/CryptoContext.h"
#include "codesign/signature/CmsSignature.h"
#include "tests/unit/codesign/SignedFiles.h"

namespace wicket::codesign {
namespace {

using support::authorityRecipe;
using support::CertificateRecipe;
using support::leafRecipe;
using support::TestCertificate;
using support::TestChain;

constexpr char someContent[] = "the someContent";

/// The failure to verify, or none.
std::optional<SigningFailure> failureOf(std::span<const std::byte> message, const TestCertificate& anchor) {
  const auto verified = CmsSignature::verify(message, certificateOf(anchor));
  return verified ? std::nullopt : std::optional(verified.error());
}

std::optional<SigningFailure> failureOf(const TestChain& chain) {
  return failureOf(CmsSignature::sign(bytesOf(someContent), identityOf(chain)).value(), chain.root);
}

TestChain chainWith(const CertificateRecipe& leaf) {
  return TestChain::make(authorityRecipe("Root"), authorityRecipe("Authority"), leaf);
}
TestChain chainWithAuthority(const CertificateRecipe& authority) {
  return TestChain::make(authorityRecipe("Root"), authority, leafRecipe("Leaf"));
}

/// A message as other tools make it.
struct ForeignMessage {
  const EVP_MD* digest = EVP_sha256();
  unsigned signerFlags = 0;
  unsigned messageFlags = 0;
  int signers = 1;

  [[nodiscard]] std::vector<std::byte> signedWith(const TestChain& chain) const {
    const BioObject source(BIO_new_mem_buf(someContent, -1));
    const unsigned flags = CMS_BINARY | CMS_PARTIAL | messageFlags;
    const CmsObject message(CMS_sign(nullptr, nullptr, nullptr, source.get(), flags));
    for (int index = 0; index < signers; ++index) {
      const auto& signer = index == 0 ? chain.leaf : chain.intermediate;
      CMS_add1_signer(message.get(), signer.x509(), signer.key(), digest, flags | signerFlags);
    }
    CMS_add1_cert(message.get(), chain.intermediate.x509());
    EXPECT_EQ(CMS_final(message.get(), source.get(), nullptr, flags), 1);
    const BioObject sink(BIO_new(BIO_s_mem()));
    EXPECT_EQ(i2d_CMS_bio(sink.get(), message.get()), 1);
    char* bytes = nullptr;
    const long length = BIO_get_mem_data(sink.get(), &bytes);
    return bytesOf({bytes, static_cast<std::size_t>(length)});
  }
};

TEST(CmsSignatureTest, ASignedMessageGivesItsContentAndTheChainWithTheRoot) {
  const TestChain chain = TestChain::developerId();
  const auto message = CmsSignature::sign(bytesOf(someContent), identityOf(chain));
  ASSERT_TRUE(message);
  const auto verified = CmsSignature::verify(*message, certificateOf(chain.root));
  ASSERT_TRUE(verified) << textOf(verified.error());
  EXPECT_EQ(textOf(verified->content), someContent);
  EXPECT_FALSE(verified->hasExpired);
  const std::vector<Certificate> expected{certificateOf(chain.leaf), certificateOf(chain.intermediate),
                                          certificateOf(chain.root)};
  EXPECT_EQ(verified->chain.certificates(), expected);
}

TEST(CmsSignatureTest, TheRootNeedNotBeInTheMessage) {
  const TestChain chain = TestChain::developerId();
  const auto message = CmsSignature::sign(bytesOf(someContent), identityWith({chain.leaf, chain.intermediate}));
  const auto verified = CmsSignature::verify(*message, certificateOf(chain.root));
  ASSERT_TRUE(verified);
  EXPECT_EQ(verified->chain.certificates().size(), 3U);
}

TEST(CmsSignatureTest, AMessageSignedByAnotherRootIsRefused) {
  const TestChain ours = TestChain::developerId();
  const TestChain theirs = TestChain::developerId();
  const auto message = CmsSignature::sign(bytesOf(someContent), identityOf(theirs));
  EXPECT_EQ(failureOf(*message, ours.root), SigningFailure::chainNotToAnchor);
}

TEST(CmsSignatureTest, AMissingIntermediateIsRefused) {
  const TestChain chain = TestChain::developerId();
  const auto message = CmsSignature::sign(bytesOf(someContent), identityWith({chain.leaf, chain.root}));
  EXPECT_EQ(failureOf(*message, chain.root), SigningFailure::chainNotToAnchor);
}

TEST(CmsSignatureTest, ACertificateBesideThePathIsRefused) {
  const TestChain chain = TestChain::developerId();
  const auto message = CmsSignature::sign(
      bytesOf(someContent), identityWith({chain.leaf, chain.intermediate, TestChain::developerId().root}));
  EXPECT_EQ(failureOf(*message, chain.root), SigningFailure::messageMalformed);
}

TEST(CmsSignatureTest, AnIntermediateIsNoAnchor) {
  const TestChain chain = TestChain::developerId();
  const auto message = CmsSignature::sign(bytesOf(someContent), identityOf(chain));
  EXPECT_EQ(failureOf(*message, chain.intermediate), SigningFailure::chainNotToAnchor);
}

TEST(CmsSignatureTest, ASelfSignedLeafIsRefusedEvenAsTheAnchor) {
  const TestCertificate alone = TestCertificate::selfSigned(leafRecipe("Alone"));
  const auto message = CmsSignature::sign(bytesOf(someContent), identityWith({alone}));
  EXPECT_EQ(failureOf(*message, alone), SigningFailure::chainNotToAnchor);
  EXPECT_EQ(failureOf(*message, TestChain::developerId().root), SigningFailure::chainNotToAnchor);
}

TEST(CmsSignatureTest, ALeafWithoutTheCodeSigningPurposeIsRefused) {
  CertificateRecipe leaf = leafRecipe("Leaf");
  leaf.extendedKeyUsages = {};
  EXPECT_EQ(failureOf(chainWith(leaf)), SigningFailure::leafNotForCodeSigning);
  leaf.extendedKeyUsages = {"emailProtection", "anyExtendedKeyUsage", "serverAuth"};
  EXPECT_EQ(failureOf(chainWith(leaf)), SigningFailure::leafNotForCodeSigning);
  leaf.extendedKeyUsages = {"emailProtection", "codeSigning"};
  EXPECT_EQ(failureOf(chainWith(leaf)), std::nullopt);
}

TEST(CmsSignatureTest, AnAuthorityDoesNotSignCode) {
  CertificateRecipe leaf = authorityRecipe("Leaf");
  leaf.extendedKeyUsages = {"codeSigning"};
  EXPECT_EQ(failureOf(chainWith(leaf)), SigningFailure::leafNotForCodeSigning);
}

TEST(CmsSignatureTest, AnIntermediateThatIsNoAuthorityIsRefused) {
  EXPECT_EQ(failureOf(chainWithAuthority(leafRecipe("Not an authority"))), SigningFailure::intermediateIsNoAuthority);
  CertificateRecipe unmarked = authorityRecipe("Authority");
  unmarked.hasBasicConstraints = false;
  EXPECT_EQ(failureOf(chainWithAuthority(unmarked)), SigningFailure::intermediateIsNoAuthority);
  CertificateRecipe withoutUsage = authorityRecipe("Authority");
  withoutUsage.hasKeyUsage = false;
  EXPECT_EQ(failureOf(chainWithAuthority(withoutUsage)), SigningFailure::intermediateIsNoAuthority);
}

TEST(CmsSignatureTest, AnIntermediateForOtherPurposesIsRefused) {
  CertificateRecipe authority = authorityRecipe("Authority");
  authority.extendedKeyUsages = {"serverAuth"};
  EXPECT_EQ(failureOf(chainWithAuthority(authority)), SigningFailure::intermediateIsNoAuthority);
  authority.extendedKeyUsages = {"serverAuth", "codeSigning"};
  EXPECT_EQ(failureOf(chainWithAuthority(authority)), std::nullopt);
}

TEST(CmsSignatureTest, APathLongerThanAnAuthorityAllowsIsRefused) {
  CertificateRecipe root = authorityRecipe("Root");
  root.pathLength = 0;
  EXPECT_EQ(failureOf(TestChain::make(root, authorityRecipe("Authority"), leafRecipe("Leaf"))),
            SigningFailure::pathTooLong);
  root.pathLength = 1;
  EXPECT_EQ(failureOf(TestChain::make(root, authorityRecipe("Authority"), leafRecipe("Leaf"))), std::nullopt);
}

TEST(CmsSignatureTest, APathOfMoreCertificatesThanAnyoneNeedsIsRefused) {
  std::vector<TestCertificate> certificates{TestCertificate::selfSigned(authorityRecipe("Root"))};
  for (int count = 0; count < 12; ++count) {
    certificates.insert(certificates.begin(), certificates.front().issue(authorityRecipe("A" + std::to_string(count))));
  }
  certificates.insert(certificates.begin(), certificates.front().issue(leafRecipe("Leaf")));
  const auto message = CmsSignature::sign(bytesOf(someContent), identityWith(certificates));
  EXPECT_NE(failureOf(*message, certificates.back()), std::nullopt);
}

TEST(CmsSignatureTest, AnExpiredLeafIsAcceptedAndReported) {
  CertificateRecipe leaf = leafRecipe("Leaf");
  leaf.validFrom = -std::chrono::hours(48);
  leaf.validTo = -std::chrono::hours(24);
  const TestChain chain = chainWith(leaf);
  const auto message = CmsSignature::sign(bytesOf(someContent), identityOf(chain));
  const auto verified = CmsSignature::verify(*message, certificateOf(chain.root));
  ASSERT_TRUE(verified) << textOf(verified.error());
  EXPECT_TRUE(verified->hasExpired);
}

TEST(CmsSignatureTest, ACertificateThatIsNotYetValidIsRefusedAnywhereInTheChain) {
  CertificateRecipe leaf = leafRecipe("Leaf");
  leaf.validFrom = std::chrono::hours(1);
  EXPECT_EQ(failureOf(chainWith(leaf)), SigningFailure::certificateNotYetValid);
  CertificateRecipe authority = authorityRecipe("Authority");
  authority.validFrom = std::chrono::hours(1);
  EXPECT_EQ(failureOf(chainWithAuthority(authority)), SigningFailure::certificateNotYetValid);
}

TEST(CmsSignatureTest, AMessageWithAWeakDigestIsRefused) {
  const TestChain chain = TestChain::developerId();
  EXPECT_EQ(failureOf(ForeignMessage{}.signedWith(chain), chain.root), std::nullopt);
  EXPECT_EQ(failureOf(ForeignMessage{.digest = EVP_sha384()}.signedWith(chain), chain.root), std::nullopt);
  for (const EVP_MD* digest : {EVP_sha1(), EVP_sha224()}) {
    EXPECT_EQ(failureOf(ForeignMessage{.digest = digest}.signedWith(chain), chain.root),
              SigningFailure::algorithmTooWeak);
  }
}

TEST(CmsSignatureTest, AMessageWithoutSignedAttributesIsRefused) {
  const TestChain chain = TestChain::developerId();
  EXPECT_EQ(failureOf(ForeignMessage{.signerFlags = CMS_NOATTR}.signedWith(chain), chain.root),
            SigningFailure::messageMalformed);
}

TEST(CmsSignatureTest, AMessageWithoutItsContentIsRefused) {
  const TestChain chain = TestChain::developerId();
  EXPECT_EQ(failureOf(ForeignMessage{.messageFlags = CMS_DETACHED}.signedWith(chain), chain.root),
            SigningFailure::messageMalformed);
}

TEST(CmsSignatureTest, AMessageWithTwoSignersIsRefused) {
  const TestChain chain = TestChain::developerId();
  EXPECT_EQ(failureOf(ForeignMessage{.signers = 2}.signedWith(chain), chain.root), SigningFailure::severalSigners);
}

TEST(CmsSignatureTest, AnythingBehindTheMessageIsRefused) {
  const TestChain chain = TestChain::developerId();
  auto message = CmsSignature::sign(bytesOf(someContent), identityOf(chain)).value();
  message.push_back(std::byte{0});
  EXPECT_EQ(failureOf(message, chain.root), SigningFailure::messageMalformed);
}

TEST(CmsSignatureTest, WhatIsNoMessageIsRefused) {
  const TestChain chain = TestChain::developerId();
  for (const std::string& text : {std::string(), std::string("0"), std::string(100, '0'), chain.leaf.der()}) {
    EXPECT_EQ(failureOf(bytesOf(text), chain.root), SigningFailure::messageMalformed);
  }
}

TEST(CmsSignatureTest, TheClaimsOfAMessageCanBeReadWithoutAnAnchor) {
  const TestChain chain = TestChain::developerId();
  const auto read = CmsSignature::readUnverified(CmsSignature::sign(bytesOf(someContent), identityOf(chain)).value());
  ASSERT_TRUE(read);
  EXPECT_EQ(textOf(read->content), someContent);
  const std::vector<Certificate> expected{certificateOf(chain.leaf), certificateOf(chain.intermediate),
                                          certificateOf(chain.root)};
  EXPECT_EQ(read->chain.certificates(), expected);
}

/// Self-made certificates with keys that the recipes do not have.
class CertificateKeyTest : public testing::Test {
 protected:
  using SharedCertificate = X509Object;

  static SharedCertificate issued(EVP_PKEY* key, const TestCertificate& issuer, const EVP_MD* digest) {
    SharedCertificate certificate(X509_dup(issuer.issue(leafRecipe("Leaf")).x509()));
    EXPECT_EQ(X509_set_pubkey(certificate.get(), key), 1);
    EXPECT_GT(X509_sign(certificate.get(), issuer.key(), digest), 0);
    return certificate;
  }
  [[nodiscard]] std::optional<SigningFailure> failureWith(KeyObject key, const EVP_MD* digest = EVP_sha256()) const {
    std::vector<Certificate> chain{Certificate::retaining(issued(key.get(), chain_.intermediate, digest).get()),
                                   certificateOf(chain_.intermediate)};
    const auto identity = SigningIdentity::fromParts(std::move(key), std::move(chain)).value();
    return failureOf(CmsSignature::sign(bytesOf(someContent), identity).value(), chain_.root);
  }

  const TestChain chain_ = TestChain::developerId();
};

TEST_F(CertificateKeyTest, RsaKeysHave2048BitsAtLeast) {
  EXPECT_EQ(failureWith(KeyObject(EVP_RSA_gen(2048))), std::nullopt);
  EXPECT_EQ(failureWith(KeyObject(EVP_RSA_gen(1024))), SigningFailure::algorithmTooWeak);
}

TEST_F(CertificateKeyTest, KeysOnEllipticCurvesHave256BitsAtLeast) {
  EXPECT_EQ(failureWith(KeyObject(EVP_EC_gen("P-384"))), std::nullopt);
  EXPECT_EQ(failureWith(KeyObject(EVP_EC_gen("P-224"))), SigningFailure::algorithmTooWeak);
}

TEST_F(CertificateKeyTest, ACertificateSignedWithSha1IsRefused) {
  EXPECT_EQ(failureWith(KeyObject(EVP_EC_gen("P-256")), EVP_sha1()), SigningFailure::algorithmTooWeak);
}

class CriticalExtensionTest : public CertificateKeyTest {
 protected:
  [[nodiscard]] std::optional<SigningFailure> failureWithExtension(const char* objectIdentifier) const {
    const TestCertificate leaf = chain_.intermediate.issue(leafRecipe("Leaf"));
    const std::unique_ptr<ASN1_OBJECT, CryptoRelease<&ASN1_OBJECT_free>> name(OBJ_txt2obj(objectIdentifier, 1));
    const std::unique_ptr<ASN1_OCTET_STRING, CryptoRelease<&ASN1_OCTET_STRING_free>> value(ASN1_OCTET_STRING_new());
    constexpr unsigned char null[] = {0x05, 0x00};
    ASN1_OCTET_STRING_set(value.get(), null, sizeof null);
    const std::unique_ptr<X509_EXTENSION, CryptoRelease<&X509_EXTENSION_free>> extension(
        X509_EXTENSION_create_by_OBJ(nullptr, name.get(), 1, value.get()));
    const X509Object extended(X509_dup(leaf.x509()));
    EXPECT_EQ(X509_add_ext(extended.get(), extension.get(), -1), 1);
    EXPECT_GT(X509_sign(extended.get(), chain_.intermediate.key(), EVP_sha256()), 0);
    EVP_PKEY_up_ref(leaf.key());
    const auto identity = SigningIdentity::fromParts(KeyObject(leaf.key()), {Certificate::retaining(extended.get()),
                                                                             certificateOf(chain_.intermediate)})
                              .value();
    return failureOf(CmsSignature::sign(bytesOf(someContent), identity).value(), chain_.root);
  }
};

TEST_F(CriticalExtensionTest, OnlyThoseThatTheRequirementAsksForAreUnderstood) {
  EXPECT_EQ(failureWithExtension("1.2.840.113635.100.6.1.13"), std::nullopt);
  EXPECT_EQ(failureWithExtension("1.2.840.113635.100.60.1"), SigningFailure::criticalExtensionUnknown);
  EXPECT_EQ(failureWithExtension("1.3.6.1.4.1.311.999"), SigningFailure::criticalExtensionUnknown);
}

}  // namespace
}  // namespace wicket::codesign
