// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string_view>

#include "helper/platform/AuthorizationServices.h"
#include "helper/platform/SourceFiles.h"

namespace wicket {

/// What a question about an installation tells: "file" (where the script comes from), "destination", "size" and
/// "sha256" (the beginning of it, in hexadecimal). All four are always there, and names in them are quoted.
struct InstallationDetails {
  [[nodiscard]] static AuthorizationDetails of(std::string_view source, std::string_view destination,
                                               const SourceFile& file);
  [[nodiscard]] static AuthorizationDetails ofUnreadable(std::string_view source, std::string_view destination,
                                                         FileError error);
  /// @p request names no source and destination.
  [[nodiscard]] static AuthorizationDetails ofMalformed(std::string_view request);
};

}  // namespace wicket
