// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/posix/Utf8Chunker.h"

#include <algorithm>

namespace wicket::posix {
namespace {

constexpr std::size_t longestCharacter = 4;

bool isBetween(std::byte byte, unsigned low, unsigned high) {
  const auto value = std::to_integer<unsigned>(byte);
  return low <= value && value <= high;
}

bool isContinuation(std::byte byte) { return isBetween(byte, 0x80, 0xBF); }

// The length of the character that @p lead begins; 0 if it begins none.
std::size_t characterLength(std::byte lead) {
  if (isBetween(lead, 0x00, 0x7F)) return 1;
  if (isBetween(lead, 0xC2, 0xDF)) return 2;
  if (isBetween(lead, 0xE0, 0xEF)) return 3;
  if (isBetween(lead, 0xF0, 0xF4)) return 4;
  return 0;
}

// Overlong forms, surrogates and numbers beyond the last plane show in the second byte.
bool isSecondByte(std::byte lead, std::byte second) {
  switch (std::to_integer<unsigned>(lead)) {
    case 0xE0:
      return isBetween(second, 0xA0, 0xBF);
    case 0xED:
      return isBetween(second, 0x80, 0x9F);
    case 0xF0:
      return isBetween(second, 0x90, 0xBF);
    case 0xF4:
      return isBetween(second, 0x80, 0x8F);
    default:
      return isContinuation(second);
  }
}

}  // namespace

std::size_t unfinishedCharacterLength(std::span<const std::byte> bytes) {
  const std::size_t longest = std::min(bytes.size(), longestCharacter - 1);
  for (std::size_t length = 1; length <= longest; ++length) {
    const auto tail = bytes.last(length);
    if (isContinuation(tail[0])) continue;
    const bool isUnfinished = characterLength(tail[0]) > length && (length == 1 || isSecondByte(tail[0], tail[1]));
    return isUnfinished ? length : 0;
  }
  return 0;
}

std::span<std::byte> Utf8Chunker::room() {
  std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(keptAt_), kept_, bytes_.begin());
  keptAt_ = 0;
  return std::span(bytes_).subspan(kept_);
}

std::span<const std::byte> Utf8Chunker::take(std::size_t count) {
  const auto available = std::span<const std::byte>(bytes_).first(kept_ + count);
  kept_ = unfinishedCharacterLength(available);
  keptAt_ = available.size() - kept_;
  return available.first(keptAt_);
}

std::span<const std::byte> Utf8Chunker::takeRest() {
  const auto rest = std::span<const std::byte>(bytes_).subspan(keptAt_, kept_);
  kept_ = 0;
  return rest;
}

}  // namespace wicket::posix
