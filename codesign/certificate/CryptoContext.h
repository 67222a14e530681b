// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <memory>
#include <openssl/bio.h>
#include <openssl/cms.h>
#include <openssl/evp.h>
#include <openssl/types.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

namespace wicket::codesign {

/// OpenSSL as this library uses it: a context of its own with the built-in algorithms and nothing else. No
/// configuration file is read and no module is loaded, whatever OPENSSL_CONF and OPENSSL_MODULES say.
class CryptoContext {
 public:
  /// Lives as long as the process; null if the memory did not suffice. Any thread.
  [[nodiscard]] static OSSL_LIB_CTX* get();
};

/// Frees an OpenSSL object with the function that its type asks for.
template <auto release>
struct CryptoRelease {
  template <typename Object>
  void operator()(Object* object) const {
    release(object);
  }
};

struct CertificateStackRelease {
  void operator()(STACK_OF(X509) * stack) const { sk_X509_pop_free(stack, X509_free); }
};

using BioObject = std::unique_ptr<BIO, CryptoRelease<&BIO_free_all>>;
using CmsObject = std::unique_ptr<CMS_ContentInfo, CryptoRelease<&CMS_ContentInfo_free>>;
using DigestContextObject = std::unique_ptr<EVP_MD_CTX, CryptoRelease<&EVP_MD_CTX_free>>;
using DigestObject = std::unique_ptr<EVP_MD, CryptoRelease<&EVP_MD_free>>;
using KeyObject = std::unique_ptr<EVP_PKEY, CryptoRelease<&EVP_PKEY_free>>;
using StoreObject = std::unique_ptr<X509_STORE, CryptoRelease<&X509_STORE_free>>;
using StoreContextObject = std::unique_ptr<X509_STORE_CTX, CryptoRelease<&X509_STORE_CTX_free>>;
using TimeObject = std::unique_ptr<ASN1_TIME, CryptoRelease<&ASN1_TIME_free>>;
using X509Object = std::unique_ptr<X509, CryptoRelease<&X509_free>>;
/// Owns the certificates in it, too.
using X509Stack = std::unique_ptr<STACK_OF(X509), CertificateStackRelease>;

}  // namespace wicket::codesign
