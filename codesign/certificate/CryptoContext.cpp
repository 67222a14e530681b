// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "codesign/certificate/CryptoContext.h"

#include <openssl/crypto.h>
#include <openssl/provider.h>

namespace wicket::codesign {

namespace {

OSSL_LIB_CTX* makeContext() {
  // For the whole process, as the file is read once per process and not once per context. Nor does the library clean up
  // when the process ends: that would take away what a context needs while threads still use it.
  if (OPENSSL_init_crypto(OPENSSL_INIT_NO_LOAD_CONFIG | OPENSSL_INIT_NO_ATEXIT, nullptr) != 1) return nullptr;
  OSSL_LIB_CTX* context = OSSL_LIB_CTX_new();
  if (context == nullptr || OSSL_PROVIDER_load(context, "default") != nullptr) return context;
  OSSL_LIB_CTX_free(context);
  return nullptr;
}

}  // namespace

OSSL_LIB_CTX* CryptoContext::get() {
  // Never freed: threads that still verify when the process ends keep a valid context.
  static OSSL_LIB_CTX* const context = makeContext();
  return context;
}

}  // namespace wicket::codesign
