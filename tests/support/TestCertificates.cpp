// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/support/TestCertificates.h"

#include <cstdint>
#include <openssl/bio.h>
#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>
#include <stdexcept>

namespace wicket::support {
namespace {

constexpr const char* storeLeafField = "1.2.840.113635.100.6.1.9";
constexpr const char* developerIdIntermediateField = "1.2.840.113635.100.6.2.6";
constexpr const char* developerIdLeafField = "1.2.840.113635.100.6.1.13";

void require(bool holds, const char* what) {
  if (!holds) {
    throw std::runtime_error(std::string("cannot make a test certificate: ") + what);
  }
}

void addSubject(X509* certificate, const std::vector<SubjectPart>& subject) {
  X509_NAME* name = X509_get_subject_name(certificate);
  for (const SubjectPart& part : subject) {
    const std::vector<unsigned char> value(part.value.begin(), part.value.end());
    const std::unique_ptr<ASN1_OBJECT, decltype(&ASN1_OBJECT_free)> object(
        OBJ_txt2obj(part.name == "D" ? "2.5.4.13" : part.name.c_str(), 0), ASN1_OBJECT_free);
    require(object && X509_NAME_add_entry_by_OBJ(name, object.get(), V_ASN1_UTF8STRING, value.data(),
                                                 static_cast<int>(value.size()), -1, 0) == 1,
            "subject");
  }
}

void addExtension(X509* certificate, int nid, const std::string& value) {
  const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> extension(
      X509V3_EXT_conf_nid(nullptr, nullptr, nid, value.c_str()), X509_EXTENSION_free);
  require(extension && X509_add_ext(certificate, extension.get(), -1) == 1, value.c_str());
}

void addField(X509* certificate, const std::string& objectIdentifier) {
  const std::unique_ptr<ASN1_OBJECT, decltype(&ASN1_OBJECT_free)> object(OBJ_txt2obj(objectIdentifier.c_str(), 1),
                                                                         ASN1_OBJECT_free);
  const std::unique_ptr<ASN1_OCTET_STRING, decltype(&ASN1_OCTET_STRING_free)> content(ASN1_OCTET_STRING_new(),
                                                                                      ASN1_OCTET_STRING_free);
  constexpr unsigned char null[] = {0x05, 0x00};
  require(object && content && ASN1_OCTET_STRING_set(content.get(), null, sizeof null) == 1, "field");
  const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> extension(
      X509_EXTENSION_create_by_OBJ(nullptr, object.get(), 0, content.get()), X509_EXTENSION_free);
  require(extension && X509_add_ext(certificate, extension.get(), -1) == 1, "field");
}

void addPolicies(X509* certificate, const std::vector<std::string>& objectIdentifiers) {
  const std::unique_ptr<CERTIFICATEPOLICIES, decltype(&CERTIFICATEPOLICIES_free)> policies(sk_POLICYINFO_new_null(),
                                                                                           CERTIFICATEPOLICIES_free);
  for (const std::string& objectIdentifier : objectIdentifiers) {
    POLICYINFO* const policy = POLICYINFO_new();
    require(policy != nullptr && sk_POLICYINFO_push(policies.get(), policy) > 0, "policy");
    policy->policyid = OBJ_txt2obj(objectIdentifier.c_str(), 1);
  }
  require(X509_add1_ext_i2d(certificate, NID_certificate_policies, policies.get(), 0, X509V3_ADD_DEFAULT) == 1,
          "policies");
}

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) {
    text += (text.empty() ? "" : ",") + word;
  }
  return text;
}

void addExtensions(X509* certificate, const CertificateRecipe& recipe) {
  if (recipe.hasBasicConstraints) {
    addExtension(certificate, NID_basic_constraints,
                 std::string("critical,CA:") + (recipe.isAuthority ? "TRUE" : "FALSE") +
                     (recipe.pathLength ? ",pathlen:" + std::to_string(*recipe.pathLength) : ""));
  }
  if (recipe.hasKeyUsage) {
    addExtension(certificate, NID_key_usage,
                 recipe.isAuthority ? "critical,keyCertSign,cRLSign" : "critical,digitalSignature");
  }
  if (!recipe.extendedKeyUsages.empty()) {
    addExtension(certificate, NID_ext_key_usage, "critical," + joined(recipe.extendedKeyUsages));
  }
  if (!recipe.policies.empty()) {
    addPolicies(certificate, recipe.policies);
  }
  for (const std::string& field : recipe.extensions) {
    addField(certificate, field);
  }
}

void addSerialNumber(X509* certificate) {
  std::uint32_t number = 0;
  require(RAND_bytes(reinterpret_cast<unsigned char*>(&number), sizeof number) == 1, "random number");
  require(ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), std::uint64_t{number} + 1) == 1, "serial number");
}

}  // namespace

CertificateRecipe authorityRecipe(std::string commonName) {
  CertificateRecipe recipe;
  recipe.subject = {{"CN", std::move(commonName)}};
  recipe.isAuthority = true;
  recipe.extendedKeyUsages.clear();
  return recipe;
}

CertificateRecipe leafRecipe(std::string commonName) {
  CertificateRecipe recipe;
  recipe.subject = {{"CN", std::move(commonName)}};
  return recipe;
}

TestCertificate TestCertificate::selfSigned(const CertificateRecipe& recipe) { return make(recipe, nullptr); }

TestCertificate TestCertificate::issue(const CertificateRecipe& recipe) const { return make(recipe, this); }

TestCertificate TestCertificate::make(const CertificateRecipe& recipe, const TestCertificate* issuer) {
  const std::shared_ptr<EVP_PKEY> key(EVP_EC_gen("P-256"), EVP_PKEY_free);
  const std::shared_ptr<X509> certificate(X509_new(), X509_free);
  require(key && certificate, "memory");
  X509* const x509 = certificate.get();
  require(X509_set_version(x509, X509_VERSION_3) == 1, "version");
  addSerialNumber(x509);
  require(X509_gmtime_adj(X509_getm_notBefore(x509), static_cast<long>(recipe.validFrom.count())) != nullptr &&
              X509_gmtime_adj(X509_getm_notAfter(x509), static_cast<long>(recipe.validTo.count())) != nullptr,
          "validity");
  addSubject(x509, recipe.subject);
  require(X509_set_issuer_name(x509, X509_get_subject_name(issuer != nullptr ? issuer->x509() : x509)) == 1, "issuer");
  require(X509_set_pubkey(x509, key.get()) == 1, "public key");
  addExtensions(x509, recipe);
  require(X509_sign(x509, issuer != nullptr ? issuer->key() : key.get(), EVP_sha256()) > 0, "signature");
  return {certificate, key};
}

std::string TestCertificate::der() const {
  unsigned char* bytes = nullptr;
  const int length = i2d_X509(x509(), &bytes);
  require(length > 0, "DER");
  std::string der(bytes, bytes + length);
  OPENSSL_free(bytes);
  return der;
}

namespace {

template <typename Write>
std::string written(Write write) {
  const std::unique_ptr<BIO, decltype(&BIO_free)> bio(BIO_new(BIO_s_mem()), BIO_free);
  require(bio && write(bio.get()) == 1, "PEM");
  std::string text(BIO_ctrl_pending(bio.get()), '\0');
  require(BIO_read(bio.get(), text.data(), static_cast<int>(text.size())) == static_cast<int>(text.size()), "PEM");
  return text;
}

}  // namespace

std::string TestCertificate::pem() const {
  return written([this](BIO* bio) { return PEM_write_bio_X509(bio, x509()); });
}

std::string TestCertificate::keyPem() const {
  return written(
      [this](BIO* bio) { return PEM_write_bio_PKCS8PrivateKey(bio, key(), nullptr, nullptr, 0, nullptr, nullptr); });
}

TestChain TestChain::make(const CertificateRecipe& rootRecipe, const CertificateRecipe& intermediateRecipe,
                          const CertificateRecipe& leafRecipe) {
  const TestCertificate root = TestCertificate::selfSigned(rootRecipe);
  const TestCertificate intermediate = root.issue(intermediateRecipe);
  return {root, intermediate, intermediate.issue(leafRecipe)};
}

TestChain TestChain::developerId(const std::string& holder, const std::string& team) {
  CertificateRecipe intermediate = authorityRecipe("Developer ID Certification Authority");
  intermediate.extensions = {developerIdIntermediateField};
  intermediate.pathLength = 0;
  CertificateRecipe leaf;
  leaf.subject = {{"UID", team},
                  {"CN", "Developer ID Application: " + holder + " (" + team + ")"},
                  {"OU", team},
                  {"O", holder},
                  {"C", "US"}};
  leaf.extensions = {developerIdLeafField};
  return make(authorityRecipe("Test Root"), intermediate, leaf);
}

TestChain TestChain::store() {
  CertificateRecipe leaf = leafRecipe("Store Application Signing");
  leaf.extensions = {storeLeafField};
  return make(authorityRecipe("Test Root"), authorityRecipe("Store Certification Authority"), leaf);
}

std::string TestChain::pem() const { return leaf.pem() + intermediate.pem() + root.pem(); }

}  // namespace wicket::support
