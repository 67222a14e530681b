// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <openssl/types.h>

namespace wicket::codesign {

/// OpenSSL as this library uses it: a context of its own with the built-in algorithms and nothing else. No
/// configuration file is read and no module is loaded, whatever OPENSSL_CONF and OPENSSL_MODULES say.
class CryptoContext {
 public:
  /// Lives as long as the process; null if the memory did not suffice. Any thread.
  [[nodiscard]] static OSSL_LIB_CTX* get();
};

}  // namespace wicket::codesign
