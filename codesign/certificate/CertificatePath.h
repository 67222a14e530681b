// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <expected>

#include "codesign/certificate/CryptoContext.h"
#include "codesign/certificate/SigningFailure.h"

namespace wicket::codesign {

/// The way from a signer's certificate to the anchor.
///
/// The rules, beyond those of RFC 5280:
/// - The anchor that is passed is the only trusted certificate: no default folders, no certificate in between
///   may stand for it, nothing is fetched, no revocation lists are read.
/// - The leaf names the purpose "code signing" (1.3.6.1.5.5.7.3.3) and is neither self-signed nor an authority.
///   Its key usage, if given, allows digital signatures.
/// - Each issuer is marked as an authority and its key usage says that it signs certificates. Where an
///   intermediate names purposes, code signing is among them. Path lengths hold.
/// - Keys are RSA of 2048 to 8192 bits or EC of at least 256; SHA-1 and weaker digests are refused.
/// - Critical extensions must be understood; those below 1.2.840.113635.100.6 are, by the code requirement.
/// - There is no trusted time of signing, and a program that is installed must not stop working one day. So
///   dates count in one direction only: no certificate may be "not yet valid", and one that has expired is
///   accepted and reported. The command refuses to sign with such a one and warns about it when it verifies.
///   A signing key that must no longer be trusted is dealt with by a new anchor.
class CertificatePath {
 public:
  /// @p untrusted are certificates that may help; null is none.
  [[nodiscard]] static std::expected<CertificatePath, SigningFailure> find(X509* leaf, STACK_OF(X509) * untrusted,
                                                                           X509* anchor);

  /// Leaf first, the anchor last. Never fewer than two.
  [[nodiscard]] STACK_OF(X509) * certificates() const { return certificates_.get(); }
  [[nodiscard]] bool hasExpired() const { return hasExpired_; }

 private:
  CertificatePath(X509Stack certificates, bool hasExpired);

  X509Stack certificates_;
  bool hasExpired_;
};

}  // namespace wicket::codesign
