// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "codesign/command/TerminalSecret.h"

#include <array>
#include <fcntl.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>

#include "base/system/Descriptor.h"
#include "base/text/JsonString.h"

namespace wicket::codesign::command {

std::optional<std::string> askOnTerminal(const std::string& what) {
  // OpenSSL would read from standard input instead.
  if (!Descriptor(::open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC)).isOpen()) return std::nullopt;
  std::array<char, 1024> buffer{};
  const std::string prompt = jsonString(what) + ": ";
  const bool wasAnswered = EVP_read_pw_string(buffer.data(), static_cast<int>(buffer.size()), prompt.c_str(), 0) == 0;
  std::optional<std::string> secret;
  if (wasAnswered) secret = buffer.data();
  OPENSSL_cleanse(buffer.data(), buffer.size());
  return secret;
}

}  // namespace wicket::codesign::command
