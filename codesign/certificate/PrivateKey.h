// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <expected>
#include <functional>
#include <optional>
#include <string>

#include "codesign/certificate/CryptoContext.h"

namespace wicket::codesign {

/// Where the keys that sign come from. Errors are sentences without their full stop.
class PrivateKey {
 public:
  /// Asked for the passphrase of a file or the PIN of a token; none gives up.
  using AskForSecret = std::function<std::optional<std::string>(const std::string& what)>;

  [[nodiscard]] static bool isOnToken(const std::string& source) { return source.starts_with("pkcs11:"); }
  /// A PEM file, encrypted or not.
  [[nodiscard]] static std::expected<KeyObject, std::string> fromFile(const std::string& path, const AskForSecret& ask);
  /// A PKCS#11 URI (RFC 7512). The key stays on its token; OpenSSL's provider or engine "pkcs11" must be
  /// installed.
  [[nodiscard]] static std::expected<KeyObject, std::string> fromToken(const std::string& uri, const AskForSecret& ask);
};

}  // namespace wicket::codesign
