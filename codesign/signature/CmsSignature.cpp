// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "codesign/signature/CmsSignature.h"

#include <algorithm>
#include <openssl/err.h>
#include <openssl/objects.h>
#include <openssl/x509v3.h>

#include "codesign/certificate/CertificatePath.h"
#include "codesign/certificate/CryptoContext.h"

namespace wicket::codesign {

namespace {

using Failure = std::unexpected<SigningFailure>;

/// OpenSSL's queue of errors must not grow with the number of refused files.
struct ErrorQueueCleaner {
  ErrorQueueCleaner() = default;
  ErrorQueueCleaner(const ErrorQueueCleaner&) = delete;
  ErrorQueueCleaner& operator=(const ErrorQueueCleaner&) = delete;
  ~ErrorQueueCleaner() { ERR_clear_error(); }
};

const unsigned char* bytesOf(std::span<const std::byte> bytes) {
  return reinterpret_cast<const unsigned char*>(bytes.data());
}

std::vector<std::byte> encoded(const CMS_ContentInfo* message) {
  const int length = i2d_CMS_ContentInfo(message, nullptr);
  if (length <= 0) return {};
  std::vector<std::byte> bytes(static_cast<std::size_t>(length));
  auto* position = reinterpret_cast<unsigned char*>(bytes.data());
  i2d_CMS_ContentInfo(message, &position);
  return bytes;
}

/// A message that is DER throughout, with nothing behind it and its content inside.
CmsObject parsed(std::span<const std::byte> bytes) {
  CmsObject message(CMS_ContentInfo_new_ex(CryptoContext::get(), nullptr));
  CMS_ContentInfo* target = message.get();
  const unsigned char* position = bytesOf(bytes);
  if (target == nullptr || d2i_CMS_ContentInfo(&target, &position, static_cast<long>(bytes.size())) == nullptr) {
    static_cast<void>(message.release());  // freed by the parser when it failed
    return nullptr;
  }
  if (!std::ranges::equal(encoded(message.get()), bytes)) return nullptr;
  if (OBJ_obj2nid(CMS_get0_type(message.get())) != NID_pkcs7_signed) return nullptr;
  if (OBJ_obj2nid(CMS_get0_eContentType(message.get())) != NID_pkcs7_data) return nullptr;
  ASN1_OCTET_STRING** content = CMS_get0_content(message.get());
  return content != nullptr && *content != nullptr ? std::move(message) : nullptr;
}

bool carriesRevocationLists(CMS_ContentInfo* message) {
  auto* lists = CMS_get1_crls(message);
  const bool carries = lists != nullptr;
  sk_X509_CRL_pop_free(lists, X509_CRL_free);
  return carries;
}

bool isStrongDigest(int digest) { return digest == NID_sha256 || digest == NID_sha384 || digest == NID_sha512; }

bool areStrong(const X509_ALGOR* digestAlgorithm, const X509_ALGOR* signatureAlgorithm) {
  const ASN1_OBJECT* object = nullptr;
  X509_ALGOR_get0(&object, nullptr, nullptr, digestAlgorithm);
  const int digest = OBJ_obj2nid(object);
  X509_ALGOR_get0(&object, nullptr, nullptr, signatureAlgorithm);
  const int signature = OBJ_obj2nid(object);
  int signatureDigest = NID_undef;
  int key = NID_undef;
  if (signature == NID_rsaEncryption) return isStrongDigest(digest);
  return isStrongDigest(digest) && OBJ_find_sigid_algs(signature, &signatureDigest, &key) == 1 &&
         signatureDigest == digest;
}

bool signsAttributesForData(CMS_SignerInfo* signer) {
  if (CMS_signed_get_attr_count(signer) <= 0 || CMS_unsigned_get_attr_count(signer) > 0) return false;
  constexpr int theOnlyOne = -3;
  const auto* type = static_cast<const ASN1_OBJECT*>(
      CMS_signed_get0_data_by_OBJ(signer, OBJ_nid2obj(NID_pkcs9_contentType), theOnlyOne, V_ASN1_OBJECT));
  return type != nullptr && OBJ_obj2nid(type) == NID_pkcs7_data;
}

CMS_SignerInfo* onlySignerOf(CMS_ContentInfo* message) {
  auto* signers = CMS_get0_SignerInfos(message);
  return sk_CMS_SignerInfo_num(signers) == 1 ? sk_CMS_SignerInfo_value(signers, 0) : nullptr;
}

std::expected<X509*, SigningFailure> acceptableSigner(CMS_ContentInfo* message) {
  if (carriesRevocationLists(message)) return Failure(SigningFailure::messageMalformed);
  CMS_SignerInfo* signer = onlySignerOf(message);
  if (signer == nullptr) return Failure(SigningFailure::severalSigners);
  if (!signsAttributesForData(signer)) return Failure(SigningFailure::messageMalformed);
  CMS_set1_signers_certs(message, nullptr, 0);
  X509* certificate = nullptr;
  X509_ALGOR* digest = nullptr;
  X509_ALGOR* signature = nullptr;
  CMS_SignerInfo_get0_algs(signer, nullptr, &certificate, &digest, &signature);
  if (!areStrong(digest, signature)) return Failure(SigningFailure::algorithmTooWeak);
  if (certificate == nullptr) return Failure(SigningFailure::chainNotToAnchor);
  return certificate;
}

/// The same certificate in this library's context, so that its own signature is checked there as well.
X509Object inOwnContext(const Certificate& certificate) {
  const std::vector<std::byte> der = certificate.der();
  X509* copy = X509_new_ex(CryptoContext::get(), nullptr);
  const unsigned char* position = bytesOf(der);
  if (copy == nullptr || d2i_X509(&copy, &position, static_cast<long>(der.size())) == nullptr) return nullptr;
  return X509Object(copy);
}

/// Nothing but the path is carried along: what is not on it is signed by nobody.
bool areAllOn(STACK_OF(X509) * path, STACK_OF(X509) * carried) {
  for (int index = 0; index < sk_X509_num(carried); ++index) {
    bool isOnPath = false;
    for (int step = 0; step < sk_X509_num(path) && !isOnPath; ++step) {
      isOnPath = X509_cmp(sk_X509_value(carried, index), sk_X509_value(path, step)) == 0;
    }
    if (!isOnPath) return false;
  }
  return true;
}

bool signatureHolds(CMS_ContentInfo* message) {
  constexpr unsigned certificatesAreAlreadyVerified = CMS_NO_SIGNER_CERT_VERIFY;
  const BioObject sink(BIO_new(BIO_s_null()));
  return sink &&
         CMS_verify(message, nullptr, nullptr, nullptr, sink.get(), CMS_BINARY | certificatesAreAlreadyVerified) == 1;
}

std::vector<std::byte> contentOf(CMS_ContentInfo* message) {
  const ASN1_OCTET_STRING* content = *CMS_get0_content(message);
  const auto* begin = reinterpret_cast<const std::byte*>(ASN1_STRING_get0_data(content));
  return {begin, begin + ASN1_STRING_length(content)};
}

CertificateChain chainOf(STACK_OF(X509) * certificates) {
  std::vector<Certificate> leafFirst;
  for (int index = 0; index < sk_X509_num(certificates); ++index) {
    leafFirst.push_back(Certificate::retaining(sk_X509_value(certificates, index)));
  }
  return CertificateChain(std::move(leafFirst));
}

/// Each certificate followed by its issuer as far as there is one, then the rest. The message keeps them in an
/// order that says nothing.
void putIssuersBehind(std::vector<Certificate>& signersFirst) {
  for (std::size_t index = 1; index < signersFirst.size(); ++index) {
    const auto rest = signersFirst.begin() + static_cast<std::ptrdiff_t>(index);
    const auto issuer = std::find_if(rest, signersFirst.end(), [&](const Certificate& candidate) {
      return X509_check_issued(candidate.x509(), signersFirst[index - 1].x509()) == X509_V_OK;
    });
    if (issuer == signersFirst.end()) return;
    std::iter_swap(rest, issuer);
  }
}

bool addCertificates(CMS_ContentInfo* message, const SigningIdentity& identity) {
  return std::ranges::all_of(identity.certificates(), [&](const Certificate& certificate) {
    // The signer's own is there already.
    return certificate == identity.certificates().front() || CMS_add1_cert(message, certificate.x509()) == 1;
  });
}

/// OpenSSL itself adds the present moment when it signs and finds none.
bool addSigner(CMS_ContentInfo* message, const SigningIdentity& identity, unsigned flags,
               std::optional<std::time_t> moment) {
  CMS_SignerInfo* signer =
      CMS_add1_signer(message, identity.certificates().front().x509(), identity.key(), EVP_sha256(), flags);
  if (signer == nullptr || !moment) return signer != nullptr;
  const TimeObject time(X509_time_adj(nullptr, 0, &*moment));
  return time && CMS_signed_add1_attr_by_NID(signer, NID_pkcs9_signingTime, time->type, time.get(), -1) == 1;
}

}  // namespace

std::expected<std::vector<std::byte>, SigningFailure> CmsSignature::sign(std::span<const std::byte> content,
                                                                         const SigningIdentity& identity,
                                                                         std::optional<std::time_t> moment) {
  const ErrorQueueCleaner cleaner;
  constexpr unsigned flags = CMS_BINARY | CMS_PARTIAL | CMS_NOSMIMECAP;
  const BioObject source(BIO_new_mem_buf(content.data(), static_cast<int>(content.size())));
  const CmsObject message(CMS_sign_ex(nullptr, nullptr, nullptr, source.get(), flags, CryptoContext::get(), nullptr));
  const bool isSigned = source && message && addSigner(message.get(), identity, flags, moment) &&
                        addCertificates(message.get(), identity) &&
                        CMS_final(message.get(), source.get(), nullptr, flags) == 1;
  if (!isSigned) return Failure(SigningFailure::signatureWrong);
  return encoded(message.get());
}

std::expected<CmsSignature::Verified, SigningFailure> CmsSignature::verify(std::span<const std::byte> bytes,
                                                                           const Certificate& anchor) {
  const ErrorQueueCleaner cleaner;
  const CmsObject message = parsed(bytes);
  if (!message) return Failure(SigningFailure::messageMalformed);
  const auto signer = acceptableSigner(message.get());
  if (!signer) return Failure(signer.error());
  const X509Object root = inOwnContext(anchor);
  if (!root) return Failure(SigningFailure::anchorUnusable);
  const X509Stack carried(CMS_get1_certs(message.get()));
  const auto path = CertificatePath::find(*signer, carried.get(), root.get());
  if (!path) return Failure(path.error());
  if (!areAllOn(path->certificates(), carried.get())) return Failure(SigningFailure::messageMalformed);
  if (!signatureHolds(message.get())) return Failure(SigningFailure::signatureWrong);
  return Verified{contentOf(message.get()), chainOf(path->certificates()), path->hasExpired()};
}

std::expected<CmsSignature::Verified, SigningFailure> CmsSignature::readUnverified(std::span<const std::byte> bytes) {
  const ErrorQueueCleaner cleaner;
  const CmsObject message = parsed(bytes);
  if (!message) return Failure(SigningFailure::messageMalformed);
  CMS_SignerInfo* signer = onlySignerOf(message.get());
  if (signer == nullptr) return Failure(SigningFailure::severalSigners);
  const X509Stack carried(CMS_get1_certs(message.get()));
  std::vector<Certificate> signersFirst = chainOf(carried.get()).certificates();
  std::ranges::partition(signersFirst, [&](const Certificate& certificate) {
    return CMS_SignerInfo_cert_cmp(signer, certificate.x509()) == 0;
  });
  putIssuersBehind(signersFirst);
  return Verified{contentOf(message.get()), CertificateChain(std::move(signersFirst)), false};
}

}  // namespace wicket::codesign
