// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "helper/store/InstallationDetails.h"

#include <cstddef>
#include <span>
#include <string>
#include <system_error>
#include <utility>

#include "base/text/QuotedName.h"

namespace wicket {
namespace {

constexpr char unknown[] = "unknown";
/// Enough that nobody finds another content with the same beginning.
constexpr std::size_t shownDigestBytes = 16;

AuthorizationDetails details(std::string file, std::string destination, std::string size, std::string digest) {
  return {{"file", std::move(file)},
          {"destination", std::move(destination)},
          {"size", std::move(size)},
          {"sha256", std::move(digest)}};
}

std::string inHexadecimal(std::span<const std::byte> bytes) {
  constexpr char digits[] = "0123456789abcdef";
  std::string text;
  for (const std::byte byte : bytes) {
    text += digits[std::to_integer<unsigned>(byte) / 16];
    text += digits[std::to_integer<unsigned>(byte) % 16];
  }
  return text;
}

}  // namespace

AuthorizationDetails InstallationDetails::of(std::string_view source, std::string_view destination,
                                             const SourceFile& file) {
  return details(quotedName(source), quotedName(destination), std::to_string(file.size()) + " bytes",
                 inHexadecimal(std::span(file.digest()).first(shownDigestBytes)) + "...");
}

AuthorizationDetails InstallationDetails::ofUnreadable(std::string_view source, std::string_view destination,
                                                       FileError error) {
  return details(quotedName(source) + " (cannot be read: " + std::generic_category().message(error.number) + ")",
                 quotedName(destination), unknown, unknown);
}

AuthorizationDetails InstallationDetails::ofMalformed(std::string_view request) {
  return details(quotedName(request) + " (malformed: not the paths of a source and a destination)", unknown, unknown,
                 unknown);
}

}  // namespace wicket
