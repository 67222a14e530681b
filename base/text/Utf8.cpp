// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "base/text/Utf8.h"

#include <cstdint>
#include <cstring>

namespace wicket {
namespace {

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

constexpr bool isSurrogate(char32_t value) { return value >= 0xD800 && value <= 0xDFFF; }

}  // namespace

Utf8::Scalar Utf8::first(std::string_view text) {
  const Lead lead = leadOf(static_cast<unsigned char>(text.front()));
  if (lead.length == 0 || lead.length > text.size()) return invalid;
  char32_t value = lead.bits;
  for (std::size_t i = 1; i < lead.length; ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if ((byte & 0xC0U) != 0x80U) return invalid;
    value = (value << 6U) | (byte & 0x3FU);
  }
  if (value < lead.smallest || value > 0x10FFFF || isSurrogate(value)) return invalid;
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

}  // namespace wicket
