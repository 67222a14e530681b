// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstddef>
#include <ctime>
#include <expected>
#include <optional>
#include <span>
#include <vector>

#include "codesign/certificate/Certificate.h"
#include "codesign/certificate/SigningFailure.h"
#include "codesign/certificate/SigningIdentity.h"

namespace wicket::codesign {

/// A signed message (CMS, RFC 5652, DER) with its content inside.
class CmsSignature {
 public:
  /// What a message says whose signature holds.
  struct Verified {
    std::vector<std::byte> content;
    CertificateChain chain;
    bool hasExpired = false;
  };

  /// With all certificates of the identity, and the moment of signing: now if none is given. signatureWrong if the
  /// key did not sign. The same content, identity and moment give the same bytes where the key's algorithm uses no
  /// random number: RSA does not, ECDSA does.
  [[nodiscard]] static std::expected<std::vector<std::byte>, SigningFailure> sign(
      std::span<const std::byte> content, const SigningIdentity& identity,
      std::optional<std::time_t> moment = std::nullopt);

  /// The message has exactly one signer, and CertificatePath's rules lead from its certificate to @p anchor.
  /// What is signed are the signed attributes, with the content's SHA-2 digest of at least 256 bits and its
  /// type "data" among them; no certificate beside the path, no unsigned attribute and no revocation list is
  /// carried along, and the encoding is the one that DER allows. No content is returned before all of that has been
  /// found true. Any thread; no network, no files, no environment.
  [[nodiscard]] static std::expected<Verified, SigningFailure> verify(std::span<const std::byte> message,
                                                                      const Certificate& anchor);

  /// What a message says and the certificates in it, the signer's first, WITHOUT knowing whether any of it is
  /// true: only for showing it to people.
  [[nodiscard]] static std::expected<Verified, SigningFailure> readUnverified(std::span<const std::byte> message);
};

}  // namespace wicket::codesign
