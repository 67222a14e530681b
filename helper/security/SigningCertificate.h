// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string_view>

namespace wicket {

/// What the build was told about the certificate that signs the companion.
struct SigningCertificate {
  /// The subject's common name. Neither quotation marks nor backslashes nor control characters are in it.
  [[nodiscard]] static std::string_view commonName();
};

}  // namespace wicket
