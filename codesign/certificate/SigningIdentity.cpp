// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "codesign/certificate/SigningIdentity.h"

#include <fstream>
#include <openssl/err.h>
#include <openssl/x509v3.h>
#include <utility>

namespace wicket::codesign {

namespace {

std::expected<std::vector<Certificate>, std::string> certificatesOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::string pem;
  for (char byte = 0; file.get(byte);) {
    pem += byte;
  }
  if (!file.is_open() || file.bad()) return std::unexpected("The certificate file cannot be read");
  auto certificates = Certificate::allFromPem(pem);
  if (!certificates) return std::unexpected("The certificate file holds no certificate in PEM form");
  return std::move(*certificates);
}

}  // namespace

SigningIdentity::SigningIdentity(KeyObject key, std::vector<Certificate> certificates)
    : key_(std::move(key)), certificates_(std::move(certificates)) {}

std::expected<SigningIdentity, std::string> SigningIdentity::load(const std::string& key,
                                                                  const std::string& certificateFile,
                                                                  const PrivateKey::AskForSecret& ask) {
  auto certificates = certificatesOf(certificateFile);
  if (!certificates) return std::unexpected(certificates.error());
  auto loaded = PrivateKey::isOnToken(key) ? PrivateKey::fromToken(key, ask) : PrivateKey::fromFile(key, ask);
  if (!loaded) return std::unexpected(loaded.error());
  return fromParts(std::move(*loaded), std::move(*certificates));
}

std::expected<SigningIdentity, std::string> SigningIdentity::fromParts(KeyObject key,
                                                                       std::vector<Certificate> certificates) {
  if (!key || certificates.empty()) return std::unexpected("A key and a certificate are needed to sign");
  const bool fits = X509_check_private_key(certificates.front().x509(), key.get()) == 1;
  ERR_clear_error();
  if (!fits) return std::unexpected("The key is not that of the first certificate");
  return SigningIdentity(std::move(key), std::move(certificates));
}

std::optional<std::string> SigningIdentity::problemNow() const {
  for (const Certificate& certificate : certificates_) {
    const bool hasBegun = X509_cmp_current_time(X509_get0_notBefore(certificate.x509())) < 0;
    const bool hasEnded = X509_cmp_current_time(X509_get0_notAfter(certificate.x509())) < 0;
    if (!hasBegun) return "The certificate of " + certificate.subjectText() + " is not valid yet";
    if (hasEnded) return "The certificate of " + certificate.subjectText() + " has expired";
  }
  X509* signer = certificates_.front().x509();
  const bool namesPurposes = (X509_get_extension_flags(signer) & EXFLAG_XKUSAGE) != 0;
  if (namesPurposes && (X509_get_extended_key_usage(signer) & XKU_CODE_SIGN) != 0) return std::nullopt;
  return "The certificate of " + certificates_.front().subjectText() + " is not meant for signing code";
}

}  // namespace wicket::codesign
