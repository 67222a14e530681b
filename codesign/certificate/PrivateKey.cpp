// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
// Debian's way to a token is an engine, an interface that OpenSSL 3 keeps but discourages.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "codesign/certificate/PrivateKey.h"

#include <algorithm>
#include <openssl/engine.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/provider.h>
#include <openssl/store.h>
#include <openssl/ui.h>
#include <utility>

#include "codesign/certificate/CryptoContext.h"

namespace wicket::codesign {

namespace {

constexpr char tokenModule[] = "pkcs11";

struct Question {
  const PrivateKey::AskForSecret& ask;
  std::string what;
  bool wasAsked = false;
};

/// OpenSSL's callback for passphrases: the length of what was put into @p buffer, or -1.
int answer(char* buffer, int size, int, void* data) {
  auto& question = *static_cast<Question*>(data);
  question.wasAsked = true;
  try {
    const auto secret = question.ask ? question.ask(question.what) : std::nullopt;
    if (!secret || secret->size() > static_cast<std::size_t>(std::max(size, 0))) return -1;
    std::ranges::copy(*secret, buffer);
    return static_cast<int>(secret->size());
  } catch (...) {
    return -1;
  }
}

using UiMethodObject = std::unique_ptr<UI_METHOD, CryptoRelease<&UI_destroy_method>>;
using EngineObject = std::unique_ptr<ENGINE, CryptoRelease<&ENGINE_free>>;
using StoreReader = std::unique_ptr<OSSL_STORE_CTX, CryptoRelease<&OSSL_STORE_close>>;
using StoreInfo = std::unique_ptr<OSSL_STORE_INFO, CryptoRelease<&OSSL_STORE_INFO_free>>;

KeyObject firstKeyOf(OSSL_STORE_CTX* reader) {
  while (OSSL_STORE_eof(reader) == 0) {
    const StoreInfo info(OSSL_STORE_load(reader));
    if (info && OSSL_STORE_INFO_get_type(info.get()) == OSSL_STORE_INFO_PKEY) {
      return KeyObject(OSSL_STORE_INFO_get1_PKEY(info.get()));
    }
    if (!info && OSSL_STORE_error(reader) != 0) break;
  }
  return nullptr;
}

/// The module goes into the process's context and not into the one that verifies.
KeyObject throughProvider(const std::string& uri, UI_METHOD* method, Question& question) {
  const StoreReader reader(OSSL_STORE_open(uri.c_str(), method, &question, nullptr, nullptr));
  if (!reader) return nullptr;
  static_cast<void>(OSSL_STORE_expect(reader.get(), OSSL_STORE_INFO_PKEY));
  return firstKeyOf(reader.get());
}

KeyObject throughEngine(ENGINE* engine, const std::string& uri, UI_METHOD* method, Question& question) {
  constexpr int evenIfUnknown = 1;
  // It would write the URI to standard error when something fails, and a PIN may be in that.
  ENGINE_ctrl_cmd_string(engine, "QUIET", nullptr, evenIfUnknown);
  if (ENGINE_init(engine) != 1) return nullptr;
  KeyObject key(ENGINE_load_private_key(engine, uri.c_str(), method, &question));
  ENGINE_finish(engine);  // the key holds a reference of its own
  return key;
}

std::string tokenProblem(bool moduleFound, bool wasAsked) {
  if (!moduleFound) return "OpenSSL has no module for PKCS#11 tokens (on Debian: libengine-pkcs11-openssl)";
  return wasAsked ? "The token gave no such private key, or the PIN is wrong" : "The token gave no such private key";
}

}  // namespace

std::expected<KeyObject, std::string> PrivateKey::fromFile(const std::string& path, const AskForSecret& ask) {
  const BioObject file(BIO_new_file(path.c_str(), "rb"));
  ERR_clear_error();
  if (!file) return std::unexpected("The key file cannot be read");
  Question question{ask, "Passphrase of " + path};
  KeyObject key(PEM_read_bio_PrivateKey_ex(file.get(), nullptr, answer, &question, CryptoContext::get(), nullptr));
  ERR_clear_error();
  if (key) return key;
  if (question.wasAsked) return std::unexpected("The key file is encrypted and was not opened by the passphrase");
  return std::unexpected("The key file holds no private key in PEM form");
}

std::expected<KeyObject, std::string> PrivateKey::fromToken(const std::string& uri, const AskForSecret& ask) {
  // Before anything of the process's context is used: no configuration file.
  static_cast<void>(CryptoContext::get());
  Question question{ask, "PIN of the token"};
  const UiMethodObject method(UI_UTIL_wrap_read_pem_callback(answer, 0));
  KeyObject key;
  bool moduleFound = false;
  if (OSSL_PROVIDER_try_load(nullptr, tokenModule, 1) != nullptr) {
    moduleFound = true;
    key = throughProvider(uri, method.get(), question);
  } else {
    ENGINE_load_dynamic();
    const EngineObject engine(ENGINE_by_id(tokenModule));
    moduleFound = engine != nullptr;
    if (engine) key = throughEngine(engine.get(), uri, method.get(), question);
  }
  ERR_clear_error();
  if (!key) return std::unexpected(tokenProblem(moduleFound, question.wasAsked));
  return key;
}

}  // namespace wicket::codesign
