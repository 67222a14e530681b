// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "codesign/certificate/SigningFailure.h"
#include "codesign/plist/PropertyValue.h"
#include "codesign/signature/FileDigest.h"

namespace wicket::codesign {

/// What a signature says about a program: the content of the signed message, a property list in XML.
struct CodeDirectory {
  /// Bit of the flags: the program runs hardened.
  static constexpr std::uint32_t runtimeFlag = 0x10000;
  /// Bytes of UTF-8.
  static constexpr std::size_t longestIdentifier = 255;

  std::string identifier;
  std::uint32_t flags = 0;
  /// Empty is something else than none.
  std::optional<PropertyDictionary> entitlements;
  /// SHA-256 of the first coveredLength bytes of the file, which are all before the signature block.
  FileDigest::Value digest{};
  std::uint64_t coveredLength = 0;

  /// None if the identifier is empty, too long or holds a NUL.
  [[nodiscard]] std::optional<std::vector<std::byte>> toPropertyList() const;
  /// Strict: every entry is there, of its type and in its range, and there is no other. To be called only with
  /// bytes whose signature holds, except to show them to people.
  [[nodiscard]] static std::expected<CodeDirectory, SigningFailure> fromPropertyList(std::span<const std::byte> bytes);

  bool operator==(const CodeDirectory&) const = default;
};

}  // namespace wicket::codesign
