// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/posix/Sha256.h"

#include <new>
#include <stdexcept>

#ifdef __APPLE__
#include <CommonCrypto/CommonDigest.h>
#else
#include <openssl/crypto.h>
#include <openssl/evp.h>
#endif

namespace wicket::posix {

#ifdef __APPLE__

struct Sha256::State {
  State() { CC_SHA256_Init(&context); }
  CC_SHA256_CTX context{};
};

void Sha256::update(std::span<const std::byte> bytes) {
  // The library counts with 32 bits.
  constexpr std::size_t most = std::size_t{1} << 30U;
  for (; bytes.size() > most; bytes = bytes.subspan(most)) CC_SHA256_Update(&state_->context, bytes.data(), most);
  CC_SHA256_Update(&state_->context, bytes.data(), static_cast<CC_LONG>(bytes.size()));
}

ContentDigest Sha256::finish() {
  ContentDigest digest{};
  CC_SHA256_Final(reinterpret_cast<unsigned char*>(digest.data()), &state_->context);
  return digest;
}

#else

struct Sha256::State {
  State() {
    // No configuration of OpenSSL's is read: it could name modules to load. And nothing is cleaned up when the process
    // ends, for threads may still be computing then.
    if (OPENSSL_init_crypto(OPENSSL_INIT_NO_LOAD_CONFIG | OPENSSL_INIT_NO_ATEXIT, nullptr) != 1) throw std::bad_alloc();
    const std::unique_ptr<EVP_MD, decltype(&EVP_MD_free)> algorithm(EVP_MD_fetch(nullptr, "SHA256", nullptr),
                                                                    &EVP_MD_free);
    if (!algorithm || !context || EVP_DigestInit_ex2(context.get(), algorithm.get(), nullptr) != 1) {
      throw std::bad_alloc();
    }
  }
  std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context{EVP_MD_CTX_new(), &EVP_MD_CTX_free};
};

void Sha256::update(std::span<const std::byte> bytes) {
  if (EVP_DigestUpdate(state_->context.get(), bytes.data(), bytes.size()) != 1) throw std::runtime_error("SHA-256");
}

ContentDigest Sha256::finish() {
  ContentDigest digest{};
  unsigned written = 0;
  auto* const bytes = reinterpret_cast<unsigned char*>(digest.data());
  if (EVP_DigestFinal_ex(state_->context.get(), bytes, &written) != 1) throw std::runtime_error("SHA-256");
  return digest;
}

#endif

Sha256::Sha256() : state_(std::make_unique<State>()) {}
Sha256::Sha256(Sha256&&) noexcept = default;
Sha256& Sha256::operator=(Sha256&&) noexcept = default;
Sha256::~Sha256() = default;

}  // namespace wicket::posix
