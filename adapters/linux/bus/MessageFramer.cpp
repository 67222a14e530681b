// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/bus/MessageFramer.h"

#include <algorithm>
#include <string_view>

namespace wicket::linux_adapter {
namespace {

constexpr std::string_view beginLine = "BEGIN\r\n";
/// No client needs more to say who it is.
constexpr std::size_t handshakeLimit = std::size_t{16} << 10U;

constexpr std::byte littleEndian{'l'};
constexpr std::byte bigEndian{'B'};
constexpr std::byte protocolVersion{1};

constexpr std::size_t fieldAlignment = 8;

}  // namespace

MessageFramer::Piece MessageFramer::next(std::span<const std::byte> input) {
  return inHandshake_ ? nextOfHandshake(input) : nextOfMessage(input);
}

MessageFramer::Piece MessageFramer::nextOfHandshake(std::span<const std::byte> input) {
  for (std::size_t i = 0; i < input.size(); ++i) {
    const char c = static_cast<char>(input[i]);
    // The very first byte is NUL and belongs to no line.
    if (handshakeLength_++ == 0) {
      if (c != '\0') return {0, Boundary::violation};
      lineMayBeBegin_ = true;
      continue;
    }
    if (handshakeLength_ > handshakeLimit) return {0, Boundary::violation};
    lineMayBeBegin_ = lineMayBeBegin_ && lineLength_ < beginLine.size() && beginLine[lineLength_] == c;
    ++lineLength_;
    if (c != '\n') continue;
    if (lineMayBeBegin_) {
      inHandshake_ = false;
      return {i + 1, Boundary::handshakeEnded};
    }
    lineLength_ = 0;
    lineMayBeBegin_ = true;
  }
  return {input.size(), Boundary::none};
}

MessageFramer::Piece MessageFramer::nextOfMessage(std::span<const std::byte> input) {
  std::size_t length = 0;
  if (headerFilled_ < headerLength) {
    length = std::min(headerLength - headerFilled_, input.size());
    std::ranges::copy(input.first(length), header_.begin() + static_cast<std::ptrdiff_t>(headerFilled_));
    headerFilled_ += length;
    if (headerFilled_ < headerLength) return {length, Boundary::none};
    if (!readHeader()) return {0, Boundary::violation};
  }
  const auto ofBody = static_cast<std::size_t>(std::min<std::uint64_t>(bodyMissing_, input.size() - length));
  bodyMissing_ -= ofBody;
  length += ofBody;
  if (bodyMissing_ > 0) return {length, Boundary::none};
  headerFilled_ = 0;
  return {length, Boundary::messageEnded};
}

bool MessageFramer::readHeader() {
  constexpr std::size_t versionOffset = 3;
  constexpr std::size_t bodyLengthOffset = 4;
  constexpr std::size_t fieldsLengthOffset = 12;
  if (header_[0] != littleEndian && header_[0] != bigEndian) return false;
  if (header_[versionOffset] != protocolVersion) return false;
  const std::uint64_t fields = headerNumber(fieldsLengthOffset);
  const std::uint64_t alignedFields = (fields + fieldAlignment - 1) / fieldAlignment * fieldAlignment;
  bodyMissing_ = alignedFields + headerNumber(bodyLengthOffset);
  return headerLength + bodyMissing_ <= messageSizeLimit_;
}

std::uint32_t MessageFramer::headerNumber(std::size_t offset) const {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < sizeof value; ++i) {
    const std::size_t position = header_[0] == bigEndian ? offset + i : offset + sizeof value - 1 - i;
    value = (value << 8U) | std::to_integer<std::uint32_t>(header_[position]);
  }
  return value;
}

}  // namespace wicket::linux_adapter
