// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "codesign/signature/SignatureVerifier.h"

#include <utility>

#include "codesign/signature/CmsSignature.h"
#include "codesign/signature/SignatureBlock.h"

namespace wicket::codesign {

namespace {

using Failure = std::unexpected<SigningFailure>;

std::expected<FileSignature, SigningFailure> signatureFrom(CmsSignature::Verified message,
                                                           std::uint64_t coveredLength) {
  auto directory = CodeDirectory::fromPropertyList(message.content);
  if (!directory) return Failure(directory.error());
  if (directory->coveredLength != coveredLength) return Failure(SigningFailure::coveredLengthWrong);
  return FileSignature{std::move(*directory), std::move(message.chain), message.hasExpired};
}

}  // namespace

std::expected<FileSignature, SigningFailure> SignatureVerifier::readSignature(int descriptor,
                                                                              const Certificate& anchor) {
  const auto block = SignatureBlock::find(descriptor);
  if (!block) return Failure(block.error());
  auto message = CmsSignature::verify(block->message, anchor);
  if (!message) return Failure(message.error());
  return signatureFrom(std::move(*message), block->coveredLength);
}

std::expected<void, SigningFailure> SignatureVerifier::compareDigest(int descriptor, const CodeDirectory& directory,
                                                                     std::uint64_t maximumLength) {
  const auto digest = FileDigest::compute(descriptor, directory.coveredLength, maximumLength);
  if (!digest) return Failure(digest.error());
  if (*digest != directory.digest) return Failure(SigningFailure::fileAltered);
  return {};
}

std::expected<FileSignature, SigningFailure> SignatureVerifier::verify(int descriptor, const Certificate& anchor,
                                                                       std::uint64_t maximumLength) {
  auto signature = readSignature(descriptor, anchor);
  if (!signature) return signature;
  const auto isUnaltered = compareDigest(descriptor, signature->directory, maximumLength);
  if (!isUnaltered) return Failure(isUnaltered.error());
  return signature;
}

std::expected<FileSignature, SigningFailure> SignatureVerifier::readUnverified(int descriptor) {
  const auto block = SignatureBlock::find(descriptor);
  if (!block) return Failure(block.error());
  auto message = CmsSignature::readUnverified(block->message);
  if (!message) return Failure(message.error());
  return signatureFrom(std::move(*message), block->coveredLength);
}

}  // namespace wicket::codesign
