// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <expected>

#include "codesign/certificate/SigningFailure.h"

namespace wicket::codesign {

/// SHA-256 of the beginning of a file.
class FileDigest {
 public:
  static constexpr std::size_t size = 32;
  using Value = std::array<std::byte, size>;

  /// Of the first @p length bytes of an open file. More than @p maximumLength is fileTooLarge before a byte has
  /// been read; a file that ends before is cannotBeRead. Memory use does not depend on the length.
  [[nodiscard]] static std::expected<Value, SigningFailure> compute(int descriptor, std::uint64_t length,
                                                                    std::uint64_t maximumLength);
};

}  // namespace wicket::codesign
