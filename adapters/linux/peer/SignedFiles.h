// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <expected>
#include <memory>
#include <set>

#include "adapters/linux/peer/ExecutableFile.h"
#include "adapters/linux/peer/FileCache.h"
#include "codesign/certificate/Certificate.h"
#include "codesign/signature/SignatureVerifier.h"

namespace wicket::linux_adapter {

/// The signatures of executables, by one trusted anchor. What holds for a file is remembered as long as
/// the file stays as it is; what does not hold is found out anew each time. Any thread.
class SignedFiles {
 public:
  /// Before a byte of a larger one is hashed, it is refused.
  static constexpr std::uint64_t maximumLength = std::uint64_t{256} << 20U;

  explicit SignedFiles(codesign::Certificate anchor);

  /// What the signature of the file says. Its bytes are not compared with it.
  [[nodiscard]] std::expected<std::shared_ptr<const codesign::FileSignature>, codesign::SigningFailure> signatureOf(
      const ExecutableFile& file);
  /// Whether the file's bytes are those that were signed.
  [[nodiscard]] std::expected<void, codesign::SigningFailure> compareDigest(const ExecutableFile& file,
                                                                            const codesign::CodeDirectory& directory);
  /// What "anchor apple generic" asks for: here it is the trusted anchor.
  [[nodiscard]] const std::set<codesign::Sha256Digest>& roots() const { return roots_; }

 private:
  using SignatureCache = FileCache<std::shared_ptr<const codesign::FileSignature>>;
  using DigestCache = FileCache<codesign::FileDigest::Value>;

  const codesign::Certificate anchor_;
  const std::set<codesign::Sha256Digest> roots_;
  SignatureCache signatures_;
  DigestCache digests_;
};

}  // namespace wicket::linux_adapter
