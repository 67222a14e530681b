// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstdint>
#include <expected>

#include "codesign/certificate/Certificate.h"
#include "codesign/certificate/SigningFailure.h"
#include "codesign/signature/CodeDirectory.h"

namespace wicket::codesign {

/// What the signature of a file says.
struct FileSignature {
  CodeDirectory directory;
  /// The signer's certificate first.
  CertificateChain chain;
  /// A certificate of the chain has expired, which does not make a signature invalid: see CertificatePath.
  bool hasExpired = false;
};

/// Reads and verifies the signatures of open files. Any thread. Descriptors must be open for reading; their
/// positions stay where they are. A file that is changed meanwhile gives some failure or the answer of either
/// state: whoever decides something by it must know that nobody untrusted can write to the file.
class SignatureVerifier {
 public:
  /// For callers that have no limit of their own: larger programs are not signed, either.
  static constexpr std::uint64_t usualMaximumLength = std::uint64_t{1} << 30;

  /// Everything but the file's own bytes: the block, the signed message and the chain to @p anchor, then the
  /// code directory, and that it covers all bytes before the block. The cost does not depend on the file's
  /// length. The chain includes the anchor.
  [[nodiscard]] static std::expected<FileSignature, SigningFailure> readSignature(int descriptor,
                                                                                  const Certificate& anchor);
  /// Whether the file's bytes are those that were signed. More than @p maximumLength is fileTooLarge before a
  /// byte has been read.
  [[nodiscard]] static std::expected<void, SigningFailure> compareDigest(int descriptor, const CodeDirectory& directory,
                                                                         std::uint64_t maximumLength);
  /// Both.
  [[nodiscard]] static std::expected<FileSignature, SigningFailure> verify(
      int descriptor, const Certificate& anchor, std::uint64_t maximumLength = usualMaximumLength);

  /// What a signature claims, with nothing verified; the chain is what the block holds. Only for showing it to
  /// people.
  [[nodiscard]] static std::expected<FileSignature, SigningFailure> readUnverified(int descriptor);
};

}  // namespace wicket::codesign
