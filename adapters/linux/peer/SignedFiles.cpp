// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/peer/SignedFiles.h"

#include <utility>

namespace wicket::linux_adapter {

using codesign::FileSignature;
using codesign::SigningFailure;

SignedFiles::SignedFiles(codesign::Certificate anchor) : anchor_(std::move(anchor)), roots_{anchor_.sha256()} {}

std::expected<std::shared_ptr<const FileSignature>, SigningFailure> SignedFiles::signatureOf(
    const ExecutableFile& file) {
  const FileIdentity identity = file.identity();
  if (auto known = signatures_.find(identity)) return *std::move(known);
  auto read = codesign::SignatureVerifier::readSignature(file.descriptor(), anchor_);
  if (!read) return std::unexpected(read.error());
  auto signature = std::make_shared<const FileSignature>(*std::move(read));
  // Otherwise it may be the signature of a state that has no name.
  if (file.isUnchanged()) signatures_.keep(identity, signature);
  return signature;
}

std::expected<void, SigningFailure> SignedFiles::compareDigest(const ExecutableFile& file,
                                                               const codesign::CodeDirectory& directory) {
  const FileIdentity identity = file.identity();
  if (digests_.find(identity) == directory.digest) return {};
  const auto result = codesign::SignatureVerifier::compareDigest(file.descriptor(), directory, maximumLength);
  if (result && file.isUnchanged()) digests_.keep(identity, directory.digest);
  return result;
}

}  // namespace wicket::linux_adapter
