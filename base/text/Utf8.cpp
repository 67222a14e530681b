// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "base/text/Utf8.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace wicket {
namespace {

constexpr std::size_t longestCharacter = 4;
constexpr Utf8::Scalar invalid{U'\uFFFD', 1, false};

/// What the lead byte of a character says: its length, its own bits, and the smallest value that
/// needs this length.
struct Lead {
  std::size_t length;
  char32_t bits;
  char32_t smallest;
};

constexpr Lead leadOf(unsigned char byte) {
  if (byte < 0x80U) return {1, byte, 0};
  if (byte >= 0xC2U && byte <= 0xDFU) return {2, byte & 0x1FU, 0x80};
  if (byte >= 0xE0U && byte <= 0xEFU) return {3, byte & 0x0FU, 0x800};
  if (byte >= 0xF0U && byte <= 0xF4U) return {4, byte & 0x07U, 0x10000};
  return {0, 0, 0};
}

/// How many bytes at the start are surely ASCII, counted eight at a time: most of what scripts write.
std::size_t asciiLength(std::string_view text) {
  constexpr std::uint64_t highBits = 0x8080808080808080U;
  std::uint64_t bytes = 0;
  std::size_t length = 0;
  for (; length + sizeof bytes <= text.size(); length += sizeof bytes) {
    std::memcpy(&bytes, text.data() + length, sizeof bytes);
    if ((bytes & highBits) != 0) break;
  }
  return length;
}

constexpr unsigned bitsOfContinuation = 6;

constexpr bool isContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

constexpr char32_t continued(char32_t value, char byte) {
  return (value << bitsOfContinuation) | (static_cast<unsigned char>(byte) & 0x3FU);
}

/// Whether there are scalars from @p least to @p most that need a lead such as this one. What bytes still to come leave
/// open never reaches across an end of the surrogates.
constexpr bool holdsScalar(const Lead& lead, char32_t least, char32_t most) {
  const bool areSurrogates = least >= 0xD800 && most <= 0xDFFF;
  return most >= lead.smallest && least <= 0x10FFFF && !areSurrogates;
}

/// Whether @p bytes, of which only the first is no continuation, begin a character and are not all of it.
bool isUnfinishedCharacter(std::string_view bytes) {
  const Lead lead = leadOf(static_cast<unsigned char>(bytes.front()));
  if (lead.length <= bytes.size()) return false;
  char32_t value = lead.bits;
  for (const char byte : bytes.substr(1)) value = continued(value, byte);
  const std::size_t open = bitsOfContinuation * (lead.length - bytes.size());
  return holdsScalar(lead, value << open, ((value + 1) << open) - 1);
}

}  // namespace

Utf8::Scalar Utf8::first(std::string_view text) {
  const Lead lead = leadOf(static_cast<unsigned char>(text.front()));
  if (lead.length == 0 || lead.length > text.size()) return invalid;
  char32_t value = lead.bits;
  for (const char byte : text.substr(1, lead.length - 1)) {
    if (!isContinuation(byte)) return invalid;
    value = continued(value, byte);
  }
  if (!holdsScalar(lead, value, value)) return invalid;
  return {value, lead.length, true};
}

std::optional<char32_t> Utf8::take(std::string_view& rest) {
  if (rest.empty()) return std::nullopt;
  const Scalar scalar = first(rest);
  if (!scalar.isValid) return std::nullopt;
  rest.remove_prefix(scalar.length);
  return scalar.value;
}

bool Utf8::isValid(std::string_view text) {
  for (;;) {
    text.remove_prefix(asciiLength(text));
    if (text.empty()) return true;
    const Scalar scalar = first(text);
    if (!scalar.isValid) return false;
    text.remove_prefix(scalar.length);
  }
}

std::size_t Utf8::unfinishedLength(std::string_view text) {
  const std::size_t longest = std::min(text.size(), longestCharacter - 1);
  for (std::size_t length = 1; length <= longest; ++length) {
    const std::string_view tail = text.substr(text.size() - length);
    if (!isContinuation(tail.front())) return isUnfinishedCharacter(tail) ? length : 0;
  }
  return 0;
}

}  // namespace wicket
