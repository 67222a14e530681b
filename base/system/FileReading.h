// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace wicket::codesign {

/// Fills @p buffer with the bytes of the file from @p offset on; false if it ends before or cannot be read.
/// The descriptor's own position stays where it is.
[[nodiscard]] bool readExactly(int descriptor, std::uint64_t offset, std::span<std::byte> buffer);

}  // namespace wicket::codesign
