// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "codesign/certificate/Certificate.h"

#include <algorithm>
#include <limits>
#include <new>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>
#include <utility>

#include "codesign/certificate/CryptoContext.h"
#include "codesign/certificate/ObjectIdentifier.h"

namespace wicket::codesign {
namespace {

struct Attribute {
  std::string_view shortName;
  int nid;
};

// Not all of these are OpenSSL's own short names.
constexpr std::array attributes{
    Attribute{"C", NID_countryName},
    Attribute{"CN", NID_commonName},
    Attribute{"D", NID_description},
    Attribute{"L", NID_localityName},
    Attribute{"O", NID_organizationName},
    Attribute{"OU", NID_organizationalUnitName},
    Attribute{"ST", NID_stateOrProvinceName},
    Attribute{"STREET", NID_streetAddress},
    Attribute{"UID", NID_userId},
};

struct BioRelease {
  void operator()(BIO* bio) const { BIO_free(bio); }
};
using Bio = std::unique_ptr<BIO, BioRelease>;

struct PoliciesRelease {
  void operator()(CERTIFICATEPOLICIES* policies) const { CERTIFICATEPOLICIES_free(policies); }
};
using Policies = std::unique_ptr<CERTIFICATEPOLICIES, PoliciesRelease>;

std::unexpected<CertificateError> certificateError(const char* message) {
  ERR_clear_error();
  return std::unexpected(CertificateError{message});
}

Bio reading(std::string_view text) {
  const bool fits = text.size() <= static_cast<std::size_t>(std::numeric_limits<int>::max());
  return Bio(fits ? BIO_new_mem_buf(text.data(), static_cast<int>(text.size())) : nullptr);
}

/// To be filled by a parser, which reads no configuration file then.
X509* emptyCertificate() { return X509_new_ex(CryptoContext::get(), nullptr); }

X509* nextCertificate(BIO* pem) {
  X509* parsed = emptyCertificate();
  if (parsed != nullptr && PEM_read_bio_X509(pem, &parsed, nullptr, nullptr) != nullptr) {
    return parsed;
  }
  X509_free(parsed);  // null if the parser has freed it
  return nullptr;
}

std::optional<std::string> utf8(const ASN1_STRING* text) {
  unsigned char* bytes = nullptr;
  const int length = ASN1_STRING_to_UTF8(&bytes, text);
  if (length < 0) {
    ERR_clear_error();
    return std::nullopt;
  }
  const std::unique_ptr<unsigned char, void (*)(unsigned char*)> owner(bytes, [](auto* it) { OPENSSL_free(it); });
  return std::string(bytes, bytes + length);
}

template <std::size_t size>
std::array<std::byte, size> digestOf(const X509* certificate, const EVP_MD* algorithm) {
  std::array<unsigned char, size> bytes{};
  unsigned int length = size;
  // It fails for want of memory only.
  if (X509_digest(certificate, algorithm, bytes.data(), &length) != 1) {
    throw std::bad_alloc();
  }
  std::array<std::byte, size> digest{};
  std::ranges::transform(bytes, digest.begin(), [](unsigned char byte) { return std::byte{byte}; });
  return digest;
}

}  // namespace

Certificate Certificate::owning(X509* certificate) {
  return Certificate(std::shared_ptr<X509>(certificate, [](X509* it) { X509_free(it); }));
}

Certificate Certificate::retaining(X509* certificate) {
  X509_up_ref(certificate);
  return owning(certificate);
}

std::expected<Certificate, CertificateError> Certificate::fromDer(std::span<const std::byte> der) {
  if (der.size() > static_cast<std::size_t>(std::numeric_limits<long>::max())) {
    return certificateError("the certificate is too large");
  }
  const std::vector<unsigned char> bytes = [&] {
    std::vector<unsigned char> copy(der.size());
    std::ranges::transform(der, copy.begin(), [](std::byte byte) { return std::to_integer<unsigned char>(byte); });
    return copy;
  }();
  const unsigned char* position = bytes.data();
  X509* parsed = emptyCertificate();
  if (parsed == nullptr || d2i_X509(&parsed, &position, static_cast<long>(bytes.size())) == nullptr) {
    return certificateError("this is no X.509 certificate in DER");
  }
  Certificate certificate = owning(parsed);
  if (position != bytes.data() + bytes.size()) {
    return certificateError("there are bytes behind the certificate");
  }
  return certificate;
}

std::expected<Certificate, CertificateError> Certificate::fromPem(std::string_view pem) {
  const Bio bio = reading(pem);
  X509* parsed = bio ? nextCertificate(bio.get()) : nullptr;
  if (parsed == nullptr) {
    return certificateError("there is no X.509 certificate in PEM");
  }
  return owning(parsed);
}

std::expected<std::vector<Certificate>, CertificateError> Certificate::allFromPem(std::string_view pem) {
  const Bio bio = reading(pem);
  std::vector<Certificate> all;
  while (X509* parsed = bio ? nextCertificate(bio.get()) : nullptr) {
    all.push_back(owning(parsed));
  }
  const bool isAtEnd = ERR_GET_REASON(ERR_peek_last_error()) == PEM_R_NO_START_LINE;
  if (all.empty()) {
    return certificateError("there is no X.509 certificate in PEM");
  }
  if (!isAtEnd) {
    return certificateError("one of the X.509 certificates in PEM is damaged");
  }
  ERR_clear_error();
  return all;
}

std::optional<std::string> Certificate::subjectAttribute(std::string_view shortName) const {
  const auto* const attribute = std::ranges::find(attributes, shortName, &Attribute::shortName);
  if (attribute == attributes.end()) {
    return std::nullopt;
  }
  const X509_NAME* subject = X509_get_subject_name(x509());
  int last = -1;
  for (int next = -1; (next = X509_NAME_get_index_by_NID(subject, attribute->nid, next)) >= 0;) {
    last = next;
  }
  if (last < 0) {
    return std::nullopt;
  }
  return utf8(X509_NAME_ENTRY_get_data(X509_NAME_get_entry(subject, last)));
}

bool Certificate::hasExtension(std::string_view objectIdentifier) const {
  const ObjectIdentifier object = codesign::objectIdentifier(objectIdentifier);
  return object && X509_get_ext_by_OBJ(x509(), object.get(), -1) >= 0;
}

bool Certificate::hasPolicy(std::string_view objectIdentifier) const {
  const ObjectIdentifier object = codesign::objectIdentifier(objectIdentifier);
  const Policies policies(
      static_cast<CERTIFICATEPOLICIES*>(X509_get_ext_d2i(x509(), NID_certificate_policies, nullptr, nullptr)));
  ERR_clear_error();
  for (int index = 0; object && policies && index < sk_POLICYINFO_num(policies.get()); ++index) {
    if (OBJ_cmp(sk_POLICYINFO_value(policies.get(), index)->policyid, object.get()) == 0) {
      return true;
    }
  }
  return false;
}

std::string Certificate::subjectText() const {
  const Bio bio(BIO_new(BIO_s_mem()));
  constexpr unsigned long flags = XN_FLAG_ONELINE & ~static_cast<unsigned long>(ASN1_STRFLGS_ESC_MSB);
  if (!bio || X509_NAME_print_ex(bio.get(), X509_get_subject_name(x509()), 0, flags) < 0) {
    ERR_clear_error();
    return {};
  }
  std::string text(BIO_ctrl_pending(bio.get()), '\0');
  const int length = BIO_read(bio.get(), text.data(), static_cast<int>(text.size()));
  text.resize(static_cast<std::size_t>(std::max(length, 0)));
  return text;
}

Sha1Digest Certificate::sha1() const { return digestOf<20>(x509(), EVP_sha1()); }

Sha256Digest Certificate::sha256() const { return digestOf<32>(x509(), EVP_sha256()); }

std::vector<std::byte> Certificate::der() const {
  unsigned char* bytes = nullptr;
  const int length = i2d_X509(x509(), &bytes);
  if (length < 0) {
    throw std::bad_alloc();
  }
  const std::unique_ptr<unsigned char, void (*)(unsigned char*)> owner(bytes, [](auto* it) { OPENSSL_free(it); });
  std::vector<std::byte> der(static_cast<std::size_t>(length));
  std::transform(bytes, bytes + length, der.begin(), [](unsigned char byte) { return std::byte{byte}; });
  return der;
}

}  // namespace wicket::codesign
