// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <array>
#include <cstddef>
#include <span>

namespace wicket::posix {

/// Cuts a stream into chunks of at most its capacity, one for each read, and keeps an unfinished
/// character at a chunk's end for the next one. Bytes that are no UTF-8 pass as they come.
class Utf8Chunker {
 public:
  static constexpr std::size_t capacity = std::size_t{64} * 1024;

  /// Where the next read may write; never empty. Chunks handed out before become invalid.
  [[nodiscard]] std::span<std::byte> room();
  /// The chunk to deliver after a read of @p count bytes into room(); empty when all was kept.
  [[nodiscard]] std::span<const std::byte> take(std::size_t count);
  /// At the end of the stream: what was kept, at most 3 bytes.
  [[nodiscard]] std::span<const std::byte> takeRest();

 private:
  std::array<std::byte, capacity> bytes_;
  std::size_t keptAt_ = 0;
  std::size_t kept_ = 0;
};

}  // namespace wicket::posix
