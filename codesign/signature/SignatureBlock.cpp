// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "codesign/signature/SignatureBlock.h"

#include <sys/stat.h>

#include "base/system/ReadWrite.h"
#include "codesign/signature/SignatureTrailer.h"

namespace wicket::codesign {

namespace {

std::expected<std::uint64_t, SigningFailure> lengthOfRegularFile(int descriptor) {
  struct stat status{};
  if (::fstat(descriptor, &status) != 0) return std::unexpected(SigningFailure::cannotBeRead);
  if (!S_ISREG(status.st_mode)) return std::unexpected(SigningFailure::notARegularFile);
  return static_cast<std::uint64_t>(status.st_size);
}

/// The trailer's length before @p end; all zero if the file has no room for it there.
std::expected<SignatureTrailer::Bytes, SigningFailure> trailerBytesBefore(int descriptor, std::uint64_t end) {
  SignatureTrailer::Bytes bytes{};
  if (end < bytes.size()) return bytes;
  if (!system::readExactly(descriptor, end - bytes.size(), bytes)) return std::unexpected(SigningFailure::cannotBeRead);
  return bytes;
}

}  // namespace

std::expected<SignatureBlock, SigningFailure> SignatureBlock::find(int descriptor) {
  const auto fileLength = lengthOfRegularFile(descriptor);
  if (!fileLength) return std::unexpected(fileLength.error());
  const auto bytes = trailerBytesBefore(descriptor, *fileLength);
  if (!bytes) return std::unexpected(bytes.error());
  const auto trailer = SignatureTrailer::decode(*bytes);
  if (!trailer) return std::unexpected(trailer.error());
  if (trailer->messageLength == 0 || trailer->messageLength > maximumMessageLength ||
      trailer->messageLength > *fileLength - SignatureTrailer::size) {
    return std::unexpected(SigningFailure::blockOutOfBounds);
  }
  SignatureBlock block;
  block.coveredLength = *fileLength - SignatureTrailer::size - trailer->messageLength;
  const auto before = trailerBytesBefore(descriptor, block.coveredLength);
  if (!before) return std::unexpected(before.error());
  if (SignatureTrailer::isMarked(*before)) return std::unexpected(SigningFailure::severalBlocks);
  block.message.resize(trailer->messageLength);
  if (!system::readExactly(descriptor, block.coveredLength, block.message)) {
    return std::unexpected(SigningFailure::cannotBeRead);
  }
  return block;
}

}  // namespace wicket::codesign
