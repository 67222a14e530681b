// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <algorithm>
#include <gtest/gtest.h>
#include <span>
#include <string>
#include <vector>

#include "codesign/certificate/Certificate.h"
#include "codesign/certificate/ObjectIdentifier.h"
#include "tests/support/TestCertificates.h"

namespace wicket::codesign {
namespace {

using namespace std::string_literals;
using support::authorityRecipe;
using support::CertificateRecipe;
using support::leafRecipe;
using support::SubjectPart;
using support::TestCertificate;
using support::TestChain;

std::span<const std::byte> derBytes(const std::string& text) { return std::as_bytes(std::span(text)); }

Certificate withSubject(std::vector<SubjectPart> subject) {
  CertificateRecipe recipe;
  recipe.subject = std::move(subject);
  return Certificate::retaining(TestCertificate::selfSigned(recipe).x509());
}

template <typename Digest>
std::string digestOf(const std::string& bytes, const EVP_MD* algorithm, const Digest& like) {
  std::string digest(like.size(), '\0');
  EVP_Digest(bytes.data(), bytes.size(), reinterpret_cast<unsigned char*>(digest.data()), nullptr, algorithm, nullptr);
  return digest;
}

template <typename Digest>
std::string textOf(const Digest& digest) {
  std::string text(digest.size(), '\0');
  std::ranges::transform(digest, text.begin(), [](std::byte byte) { return std::to_integer<char>(byte); });
  return text;
}

TEST(CertificateTest, ComesOutOfDerAndPemAsItWentIn) {
  const TestCertificate made = TestCertificate::selfSigned(leafRecipe("Leaf"));
  const auto fromDer = Certificate::fromDer(derBytes(made.der()));
  const auto fromPem = Certificate::fromPem("text before it\n" + made.pem());
  ASSERT_TRUE(fromDer);
  ASSERT_TRUE(fromPem);
  EXPECT_TRUE(*fromDer == *fromPem);
  EXPECT_EQ(textOf(fromDer->der()), made.der());
}

TEST(CertificateTest, BytesThatAreNoCertificateAreRefused) {
  const std::string der = TestCertificate::selfSigned(leafRecipe("Leaf")).der();
  EXPECT_FALSE(Certificate::fromDer({}));
  EXPECT_FALSE(Certificate::fromDer(derBytes("nothing"s)));
  EXPECT_FALSE(Certificate::fromDer(derBytes(der.substr(0, der.size() - 1))));
  EXPECT_EQ(Certificate::fromDer(derBytes(der + "\0"s)).error().message, "there are bytes behind the certificate");
  EXPECT_FALSE(Certificate::fromPem(""));
  EXPECT_FALSE(Certificate::fromPem("-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n"));
}

TEST(CertificateTest, AllCertificatesOfAPemFileKeepTheirOrderAndThePrivateKeyIsPassedOver) {
  const TestChain chain = TestChain::developerId();
  const auto all = Certificate::allFromPem(chain.leaf.keyPem() + chain.pem());
  ASSERT_TRUE(all);
  ASSERT_EQ(all->size(), 3U);
  EXPECT_TRUE(all->front() == Certificate::retaining(chain.leaf.x509()));
  EXPECT_TRUE(all->back() == Certificate::retaining(chain.root.x509()));
}

TEST(CertificateTest, APemFileWithADamagedCertificateIsRefused) {
  const std::string good = TestCertificate::selfSigned(leafRecipe("Leaf")).pem();
  EXPECT_FALSE(Certificate::allFromPem(good + "-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n"));
  EXPECT_FALSE(Certificate::allFromPem(good + good.substr(0, good.size() / 2)));
  EXPECT_FALSE(Certificate::allFromPem("no certificate at all"));
}

TEST(CertificateTest, EachSubjectAttributeIsReadByItsName) {
  const Certificate certificate = withSubject({{"C", "DE"},
                                               {"CN", "common name"},
                                               {"D", "description"},
                                               {"L", "locality"},
                                               {"O", "organization"},
                                               {"OU", "unit"},
                                               {"ST", "state"},
                                               {"2.5.4.9", "street"},
                                               {"UID", "user"}});
  EXPECT_EQ(certificate.subjectAttribute("C"), "DE");
  EXPECT_EQ(certificate.subjectAttribute("CN"), "common name");
  EXPECT_EQ(certificate.subjectAttribute("D"), "description");
  EXPECT_EQ(certificate.subjectAttribute("L"), "locality");
  EXPECT_EQ(certificate.subjectAttribute("O"), "organization");
  EXPECT_EQ(certificate.subjectAttribute("OU"), "unit");
  EXPECT_EQ(certificate.subjectAttribute("ST"), "state");
  EXPECT_EQ(certificate.subjectAttribute("STREET"), "street");
  EXPECT_EQ(certificate.subjectAttribute("UID"), "user");
}

TEST(CertificateTest, AnAttributeThatIsMissingOrHasAnotherNameIsNone) {
  const Certificate certificate = withSubject({{"CN", "name"}, {"GN", "given"}});
  EXPECT_EQ(certificate.subjectAttribute("O"), std::nullopt);
  EXPECT_EQ(certificate.subjectAttribute("GN"), std::nullopt);
  EXPECT_EQ(certificate.subjectAttribute("cn"), std::nullopt);
  EXPECT_EQ(certificate.subjectAttribute(""), std::nullopt);
}

TEST(CertificateTest, TheLastOfSeveralAttributesIsTheOneThatCounts) {
  EXPECT_EQ(withSubject({{"CN", "first"}, {"O", "o"}, {"CN", "last"}}).subjectAttribute("CN"), "last");
}

TEST(CertificateTest, AnEmbeddedNulIsACharacterOfTheText) {
  EXPECT_EQ(withSubject({{"CN", "genuine\0.example"s}}).subjectAttribute("CN"), "genuine\0.example"s);
}

TEST(CertificateTest, TextBeyondAsciiIsUtf8WhateverTheEncodingInTheCertificate) {
  const Certificate certificate = withSubject({{"CN", "caf\xC3\xA9 \xF0\x9F\x90\x8D"}});
  EXPECT_EQ(certificate.subjectAttribute("CN"), "caf\xC3\xA9 \xF0\x9F\x90\x8D");

  X509_NAME* subject = X509_get_subject_name(certificate.x509());
  const std::vector<unsigned char> wide{0x00, 'a', 0x00, 0xE9};
  ASSERT_EQ(X509_NAME_add_entry_by_txt(subject, "O", V_ASN1_BMPSTRING, wide.data(), 4, -1, 0), 1);
  EXPECT_EQ(certificate.subjectAttribute("O"), "a\xC3\xA9");
}

TEST(CertificateTest, AnAttributeThatIsNoTextIsNone) {
  const Certificate certificate = withSubject({{"CN", "name"}});
  const std::vector<unsigned char> bytes{'n', 'a', 'm', 'e'};
  ASSERT_EQ(X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate.x509()), "CN", V_ASN1_BIT_STRING, bytes.data(),
                                       4, -1, 0),
            1);
  EXPECT_EQ(certificate.subjectAttribute("CN"), std::nullopt);
}

TEST(CertificateTest, AnExtensionIsThereWhateverItsContent) {
  CertificateRecipe recipe;
  recipe.extensions = {"1.2.840.113635.100.6.1.13"};
  const Certificate certificate = Certificate::retaining(TestCertificate::selfSigned(recipe).x509());
  EXPECT_TRUE(certificate.hasExtension("1.2.840.113635.100.6.1.13"));
  EXPECT_TRUE(certificate.hasExtension("2.5.29.37"));
  EXPECT_FALSE(certificate.hasExtension("1.2.840.113635.100.6.1.1"));
  EXPECT_FALSE(certificate.hasExtension("1.2.840.113635.100.6.1.130"));
  EXPECT_FALSE(certificate.hasExtension("extendedKeyUsage"));
  EXPECT_FALSE(certificate.hasExtension(""));
}

TEST(CertificateTest, APolicyIsOneOfThoseTheCertificateNames) {
  CertificateRecipe recipe;
  recipe.policies = {"1.2.3.4", "1.2.3.5"};
  const Certificate certificate = Certificate::retaining(TestCertificate::selfSigned(recipe).x509());
  EXPECT_TRUE(certificate.hasPolicy("1.2.3.5"));
  EXPECT_FALSE(certificate.hasPolicy("1.2.3.6"));
  EXPECT_FALSE(withSubject({{"CN", "no policies"}}).hasPolicy("1.2.3.4"));
}

TEST(CertificateTest, TheDigestsAreThoseOfTheDer) {
  const TestCertificate made = TestCertificate::selfSigned(leafRecipe("Leaf"));
  const Certificate certificate = Certificate::retaining(made.x509());
  EXPECT_EQ(textOf(certificate.sha1()), digestOf(made.der(), EVP_sha1(), certificate.sha1()));
  EXPECT_EQ(textOf(certificate.sha256()), digestOf(made.der(), EVP_sha256(), certificate.sha256()));
}

TEST(CertificateTest, TheSubjectIsOneLineInWhichControlCharactersAreEscaped) {
  const std::string text = withSubject({{"CN", "caf\xC3\xA9\n\0x"s}, {"O", "maker"}}).subjectText();
  EXPECT_EQ(text, "CN = caf\xC3\xA9\\0A\\00x, O = maker");
}

TEST(CertificateTest, ACopyOutlivesWhatItWasMadeOf) {
  std::optional<TestCertificate> made = TestCertificate::selfSigned(leafRecipe("Leaf"));
  const Certificate copy = Certificate(Certificate::retaining(made->x509()));
  made.reset();
  EXPECT_EQ(copy.subjectAttribute("CN"), "Leaf");
}

TEST(ObjectIdentifierTest, OnlyDecimalNumbersWithDotsBetweenThemAreOne) {
  for (const char* text : {"1.2", "2.5.29.37", "1.2.840.113635.100.6.1.9", "2.999.18446744073709551616"}) {
    EXPECT_TRUE(objectIdentifier(text)) << text;
  }
  for (const char* text : {"", "1", "3.1", "1.40", ".1.2", "1.2.", "1..2", "1 2", "1.2 ", "1.-2", "CN", "1.2.x"}) {
    EXPECT_FALSE(objectIdentifier(text)) << text;
  }
  EXPECT_TRUE(objectIdentifier("1.2." + std::string(251, '1')));
  EXPECT_FALSE(objectIdentifier("1.2." + std::string(252, '1')));
}

TEST(CertificateChainTest, CountsFromTheLeafUpwardsAndFromTheRootDownwards) {
  const TestChain made = TestChain::developerId();
  const CertificateChain chain({Certificate::retaining(made.leaf.x509()),
                                Certificate::retaining(made.intermediate.x509()),
                                Certificate::retaining(made.root.x509())});
  const auto at = [&](int index) {
    const Certificate* certificate = chain.at(index);
    return certificate != nullptr ? certificate->x509() : nullptr;
  };
  EXPECT_EQ(at(0), made.leaf.x509());
  EXPECT_EQ(at(1), made.intermediate.x509());
  EXPECT_EQ(at(2), made.root.x509());
  EXPECT_EQ(at(3), nullptr);
  EXPECT_EQ(at(-1), made.root.x509());
  EXPECT_EQ(at(-2), made.intermediate.x509());
  EXPECT_EQ(at(-3), made.leaf.x509());
  EXPECT_EQ(at(-4), nullptr);
  EXPECT_EQ(at(std::numeric_limits<int>::min()), nullptr);
  EXPECT_EQ(at(std::numeric_limits<int>::max()), nullptr);
  EXPECT_EQ(chain.leaf()->x509(), made.leaf.x509());
  EXPECT_EQ(chain.root()->x509(), made.root.x509());
}

TEST(CertificateChainTest, AnEmptyChainHasNoCertificate) {
  EXPECT_EQ(CertificateChain().at(0), nullptr);
  EXPECT_EQ(CertificateChain().root(), nullptr);
}

}  // namespace
}  // namespace wicket::codesign
