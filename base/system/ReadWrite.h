// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <span>
#include <string>

namespace wicket::system {

// What signals do not interrupt. The errors are errnos.

/// One read(2): as many bytes as are there, at most as many as @p buffer takes; 0 at the end.
[[nodiscard]] std::expected<std::size_t, int> readSome(int descriptor, std::span<std::byte> buffer);
/// One pread(2): from @p offset on, while the descriptor's own position stays where it is.
[[nodiscard]] std::expected<std::size_t, int> readSomeAt(int descriptor, std::uint64_t offset,
                                                         std::span<std::byte> buffer);
/// Fills @p buffer with the bytes of the file from @p offset on; false if it ends before or cannot be read.
/// The descriptor's own position stays where it is.
[[nodiscard]] bool readExactly(int descriptor, std::uint64_t offset, std::span<std::byte> buffer);
/// Everything up to the end, for files that are known to be small.
[[nodiscard]] std::expected<std::string, int> readAll(int descriptor);

/// All of @p bytes. After an error nobody knows how many of them were written. Calls nothing but the kernel, so that a
/// child that shares its parent's memory may call it.
[[nodiscard]] std::expected<void, int> writeAll(int descriptor, std::span<const std::byte> bytes);

}  // namespace wicket::system
