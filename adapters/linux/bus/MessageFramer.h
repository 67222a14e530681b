// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace wicket::linux_adapter {

/// Finds, in what a client sends, the end of the handshake and of each message, so that messages
/// can be handed to sd-bus one at a time and an oversized one is noticed before it takes memory.
class MessageFramer {
 public:
  enum class Boundary {
    none,            ///< the piece ends where the input does
    handshakeEnded,  ///< with the line BEGIN
    messageEnded,
    violation,  ///< no D-Bus, or a message beyond the limit
  };
  struct Piece {
    std::size_t length;
    Boundary boundary;
  };

  explicit MessageFramer(std::size_t messageSizeLimit) : messageSizeLimit_(messageSizeLimit) {}

  /// The longest beginning of @p input that crosses no boundary. It counts as consumed.
  [[nodiscard]] Piece next(std::span<const std::byte> input);

 private:
  static constexpr std::size_t headerLength = 16;

  Piece nextOfHandshake(std::span<const std::byte> input);
  Piece nextOfMessage(std::span<const std::byte> input);
  [[nodiscard]] bool readHeader();
  [[nodiscard]] std::uint32_t headerNumber(std::size_t offset) const;

  const std::size_t messageSizeLimit_;
  bool inHandshake_ = true;
  bool lineMayBeBegin_ = false;
  std::size_t lineLength_ = 0;
  std::size_t handshakeLength_ = 0;
  std::array<std::byte, headerLength> header_{};
  std::size_t headerFilled_ = 0;
  std::uint64_t bodyMissing_ = 0;
};

}  // namespace wicket::linux_adapter
