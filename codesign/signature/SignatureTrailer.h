// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <span>

#include "codesign/certificate/SigningFailure.h"

namespace wicket::codesign {

/// The last bytes of a signed file, by which its signature block is found:
///   length of the message before the trailer   8 bytes, least significant first
///   version of the block's format, 1           4 bytes, least significant first
///   zero                                       4 bytes
///   mark                                       8 bytes
/// Every byte counts: one trailer has one encoding.
struct SignatureTrailer {
  static constexpr std::size_t size = 24;
  using Bytes = std::array<std::byte, size>;

  std::uint64_t messageLength = 0;

  [[nodiscard]] Bytes encode() const;
  /// Whether @p bytes end like a trailer, in whatever state the rest of it is.
  [[nodiscard]] static bool isMarked(std::span<const std::byte, size> bytes);
  /// notSigned without the mark, trailerMalformed with one. The length is not examined.
  [[nodiscard]] static std::expected<SignatureTrailer, SigningFailure> decode(std::span<const std::byte, size> bytes);

  bool operator==(const SignatureTrailer&) const = default;
};

}  // namespace wicket::codesign
