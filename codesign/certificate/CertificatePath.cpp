// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "codesign/certificate/CertificatePath.h"

#include <array>
#include <openssl/objects.h>
#include <openssl/x509v3.h>
#include <optional>
#include <string_view>
#include <utility>

#include "codesign/certificate/CryptoContext.h"

namespace wicket::codesign {

namespace {

constexpr int longestPath = 6;
// 112 bits: no RSA key below 2048 bits, no SHA-1.
constexpr int securityLevel = 2;
constexpr std::string_view understoodArc = "1.2.840.113635.100.6.";

bool isUnderstood(X509_EXTENSION* extension) {
  if (X509_EXTENSION_get_critical(extension) == 0 || X509_supported_extension(extension) != 0) return true;
  std::array<char, 128> text{};
  OBJ_obj2txt(text.data(), static_cast<int>(text.size()), X509_EXTENSION_get_object(extension), 1);
  return std::string_view(text.data()).starts_with(understoodArc);
}

bool hasOnlyUnderstoodExtensions(const X509* certificate) {
  for (int index = 0; index < X509_get_ext_count(certificate); ++index) {
    if (!isUnderstood(X509_get_ext(certificate, index))) return false;
  }
  return true;
}

/// Decides what OpenSSL leaves to its caller. The context's application data is a bool: something has expired.
int judge(int accepted, X509_STORE_CTX* context) {
  if (accepted == 1) return 1;
  switch (X509_STORE_CTX_get_error(context)) {
    case X509_V_ERR_CERT_HAS_EXPIRED:
      *static_cast<bool*>(X509_STORE_CTX_get_app_data(context)) = true;
      return 1;
    case X509_V_ERR_UNHANDLED_CRITICAL_EXTENSION:
      return hasOnlyUnderstoodExtensions(X509_STORE_CTX_get_current_cert(context)) ? 1 : 0;
    default:
      return 0;
  }
}

SigningFailure failureOf(int error) {
  switch (error) {
    case X509_V_ERR_CERT_NOT_YET_VALID:
      return SigningFailure::certificateNotYetValid;
    case X509_V_ERR_INVALID_CA:
    case X509_V_ERR_KEYUSAGE_NO_CERTSIGN:
      return SigningFailure::intermediateIsNoAuthority;
    case X509_V_ERR_PATH_LENGTH_EXCEEDED:
    case X509_V_ERR_CERT_CHAIN_TOO_LONG:
      return SigningFailure::pathTooLong;
    case X509_V_ERR_EE_KEY_TOO_SMALL:
    case X509_V_ERR_CA_KEY_TOO_SMALL:
    case X509_V_ERR_CA_MD_TOO_WEAK:
      return SigningFailure::algorithmTooWeak;
    case X509_V_ERR_UNHANDLED_CRITICAL_EXTENSION:
      return SigningFailure::criticalExtensionUnknown;
    default:
      return SigningFailure::chainNotToAnchor;
  }
}

bool hasStrongKey(X509* certificate) {
  const EVP_PKEY* key = X509_get0_pubkey(certificate);
  if (key == nullptr) return false;
  const int bits = EVP_PKEY_get_bits(key);
  switch (EVP_PKEY_get_base_id(key)) {
    case EVP_PKEY_RSA:
    case EVP_PKEY_RSA_PSS:
      return bits >= 2048 && bits <= 8192;
    case EVP_PKEY_EC:
      return bits >= 256;
    default:
      return false;
  }
}

bool has(X509* certificate, std::uint32_t flag) { return (X509_get_extension_flags(certificate) & flag) != 0; }

bool namesCodeSigning(X509* certificate) {
  return has(certificate, EXFLAG_XKUSAGE) && (X509_get_extended_key_usage(certificate) & XKU_CODE_SIGN) != 0;
}

std::optional<SigningFailure> problemOfLeaf(X509* leaf) {
  // Without the extension OpenSSL answers with all bits set.
  if ((X509_get_key_usage(leaf) & KU_DIGITAL_SIGNATURE) == 0) return SigningFailure::leafNotForCodeSigning;
  if (!namesCodeSigning(leaf) || has(leaf, EXFLAG_CA)) return SigningFailure::leafNotForCodeSigning;
  if (has(leaf, EXFLAG_SS)) return SigningFailure::chainNotToAnchor;
  return std::nullopt;
}

std::optional<SigningFailure> problemOfIssuer(X509* issuer, bool isAnchor) {
  const bool isAuthority = has(issuer, EXFLAG_BCONS) && has(issuer, EXFLAG_CA);
  const bool signsCertificates = has(issuer, EXFLAG_KUSAGE) && (X509_get_key_usage(issuer) & KU_KEY_CERT_SIGN) != 0;
  if (!isAuthority || !signsCertificates) return SigningFailure::intermediateIsNoAuthority;
  if (!isAnchor && has(issuer, EXFLAG_XKUSAGE) && !namesCodeSigning(issuer)) {
    return SigningFailure::intermediateIsNoAuthority;
  }
  return std::nullopt;
}

std::optional<SigningFailure> problemOfPath(STACK_OF(X509) * path, X509* anchor) {
  const int count = sk_X509_num(path);
  if (count < 2 || X509_cmp(sk_X509_value(path, count - 1), anchor) != 0) return SigningFailure::chainNotToAnchor;
  for (int index = 0; index < count; ++index) {
    X509* certificate = sk_X509_value(path, index);
    if (!hasStrongKey(certificate)) return SigningFailure::algorithmTooWeak;
    const auto problem = index == 0 ? problemOfLeaf(certificate) : problemOfIssuer(certificate, index == count - 1);
    if (problem) return problem;
  }
  return std::nullopt;
}

}  // namespace

CertificatePath::CertificatePath(X509Stack certificates, bool hasExpired)
    : certificates_(std::move(certificates)), hasExpired_(hasExpired) {}

std::expected<CertificatePath, SigningFailure> CertificatePath::find(X509* leaf, STACK_OF(X509) * untrusted,
                                                                     X509* anchor) {
  const StoreObject store(X509_STORE_new());
  const StoreContextObject context(X509_STORE_CTX_new_ex(CryptoContext::get(), nullptr));
  if (!store || !context || X509_STORE_add_cert(store.get(), anchor) != 1 ||
      X509_STORE_CTX_init(context.get(), store.get(), leaf, untrusted) != 1) {
    return std::unexpected(SigningFailure::anchorUnusable);
  }
  bool hasExpired = false;
  X509_STORE_CTX_set_app_data(context.get(), &hasExpired);
  X509_STORE_CTX_set_verify_cb(context.get(), judge);
  X509_VERIFY_PARAM* rules = X509_STORE_CTX_get0_param(context.get());
  X509_VERIFY_PARAM_set_auth_level(rules, securityLevel);
  X509_VERIFY_PARAM_set_depth(rules, longestPath);
  if (X509_verify_cert(context.get()) != 1) {
    return std::unexpected(failureOf(X509_STORE_CTX_get_error(context.get())));
  }
  X509Stack path(X509_STORE_CTX_get1_chain(context.get()));
  if (!path) return std::unexpected(SigningFailure::chainNotToAnchor);
  if (const auto problem = problemOfPath(path.get(), anchor)) return std::unexpected(*problem);
  return CertificatePath(std::move(path), hasExpired);
}

}  // namespace wicket::codesign
