// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "codesign/signature/SignatureTrailer.h"

#include <algorithm>

namespace wicket::codesign {

namespace {

// Not ASCII throughout, so that no text file ends like this.
constexpr std::array<unsigned char, 8> mark = {0x8E, 'W', 'k', 't', 'S', 'i', 'g', 0x0A};
constexpr std::uint32_t currentVersion = 1;
constexpr std::size_t versionOffset = 8;
constexpr std::size_t markOffset = 16;

template <std::size_t count>
std::uint64_t numberAt(std::span<const std::byte, SignatureTrailer::size> bytes, std::size_t offset) {
  std::uint64_t number = 0;
  for (std::size_t index = count; index-- > 0;) {
    number = number << 8 | std::to_integer<std::uint64_t>(bytes[offset + index]);
  }
  return number;
}

void putNumber(SignatureTrailer::Bytes& bytes, std::size_t offset, std::size_t count, std::uint64_t number) {
  for (std::size_t index = 0; index < count; ++index) {
    bytes[offset + index] = static_cast<std::byte>(number >> (8 * index) & 0xFF);
  }
}

}  // namespace

SignatureTrailer::Bytes SignatureTrailer::encode() const {
  Bytes bytes{};
  putNumber(bytes, 0, 8, messageLength);
  putNumber(bytes, versionOffset, 8, currentVersion);
  std::ranges::transform(mark, bytes.begin() + markOffset, [](unsigned char byte) { return std::byte{byte}; });
  return bytes;
}

bool SignatureTrailer::isMarked(std::span<const std::byte, size> bytes) {
  return std::ranges::equal(bytes.subspan<markOffset>(), mark, {},
                            [](std::byte byte) { return std::to_integer<unsigned char>(byte); });
}

std::expected<SignatureTrailer, SigningFailure> SignatureTrailer::decode(std::span<const std::byte, size> bytes) {
  if (!isMarked(bytes)) return std::unexpected(SigningFailure::notSigned);
  // The version together with the zeroes behind it.
  if (numberAt<8>(bytes, versionOffset) != currentVersion) return std::unexpected(SigningFailure::trailerMalformed);
  return SignatureTrailer{numberAt<8>(bytes, 0)};
}

}  // namespace wicket::codesign
