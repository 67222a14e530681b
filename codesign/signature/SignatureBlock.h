// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <vector>

#include "codesign/certificate/SigningFailure.h"

namespace wicket::codesign {

/// The end of a signed file: a CMS message (RFC 5652) and a SignatureTrailer. Found, but not yet believed.
struct SignatureBlock {
  /// A chain of certificates and a code directory need about 4 KiB.
  static constexpr std::uint64_t maximumMessageLength = 64 * 1024;

  /// How many bytes of the file lie before the block.
  std::uint64_t coveredLength = 0;
  std::vector<std::byte> message;

  /// The block of an open file. Reads at most the block and the trailer's length before it, allocates at most
  /// maximumMessageLength and maps nothing. The bytes before the block must not end with a trailer's mark:
  /// otherwise it would depend on the reader which of two blocks counts.
  [[nodiscard]] static std::expected<SignatureBlock, SigningFailure> find(int descriptor);
};

}  // namespace wicket::codesign
