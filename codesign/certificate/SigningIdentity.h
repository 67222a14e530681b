// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <expected>
#include <optional>
#include <string>
#include <vector>

#include "codesign/certificate/Certificate.h"
#include "codesign/certificate/PrivateKey.h"

namespace wicket::codesign {

/// A private key and the certificates that say whose it is.
class SigningIdentity {
 public:
  /// The key from a PEM file or from a token ("pkcs11:..."), the certificates from a PEM file, the signer's
  /// first. The key must be that of the first certificate. The error is a sentence without its full stop.
  [[nodiscard]] static std::expected<SigningIdentity, std::string> load(const std::string& key,
                                                                        const std::string& certificateFile,
                                                                        const PrivateKey::AskForSecret& ask);
  /// At least one certificate.
  [[nodiscard]] static std::expected<SigningIdentity, std::string> fromParts(KeyObject key,
                                                                             std::vector<Certificate> certificates);

  /// Why no verifier, or soon none, would take what this identity signs now: a certificate that has expired or is
  /// not valid yet, or a signer's certificate that is not meant for code. A sentence without its full stop.
  [[nodiscard]] std::optional<std::string> problemNow() const;

  [[nodiscard]] EVP_PKEY* key() const { return key_.get(); }
  /// The signer's first.
  [[nodiscard]] const std::vector<Certificate>& certificates() const { return certificates_; }

 private:
  SigningIdentity(KeyObject key, std::vector<Certificate> certificates);

  KeyObject key_;
  std::vector<Certificate> certificates_;
};

}  // namespace wicket::codesign
