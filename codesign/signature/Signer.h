// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstdint>
#include <ctime>
#include <expected>
#include <optional>
#include <string>

#include "codesign/certificate/SigningIdentity.h"
#include "codesign/plist/PropertyValue.h"

namespace wicket::codesign {

/// What a signature is to say about a program.
struct SigningRequest {
  std::string identifier;
  std::uint32_t flags = 0;
  std::optional<PropertyDictionary> entitlements;
  /// The moment of signing that the signature tells, without anybody vouching for it. None: now.
  std::optional<std::time_t> moment = std::nullopt;
};

/// Signs programs.
class Signer {
 public:
  /// Appends a signature block to the regular file at @p path, in place of the one that it has, and keeps its
  /// owner, group and mode. The file is replaced as a whole: a program that runs goes on as it is, hard links
  /// and extended attributes stay with the old file. On failure it is untouched. Whether anybody will trust the
  /// identity is not examined. The error is a sentence without its full stop.
  [[nodiscard]] static std::expected<void, std::string> sign(const std::string& path, const SigningRequest& request,
                                                             const SigningIdentity& identity);
};

}  // namespace wicket::codesign
