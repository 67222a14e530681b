// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "codesign/signature/FileDigest.h"

#include <algorithm>
#include <vector>

#include "base/system/ReadWrite.h"
#include "codesign/certificate/CryptoContext.h"

namespace wicket::codesign {

namespace {

constexpr std::size_t hashedAtOnce = 256 * 1024;

bool feedFile(EVP_MD_CTX* context, int descriptor, std::uint64_t length) {
  std::vector<std::byte> chunk(std::min<std::uint64_t>(length, hashedAtOnce));
  for (std::uint64_t offset = 0; offset < length; offset += chunk.size()) {
    chunk.resize(std::min<std::uint64_t>(length - offset, hashedAtOnce));
    if (!system::readExactly(descriptor, offset, chunk)) return false;
    if (EVP_DigestUpdate(context, chunk.data(), chunk.size()) != 1) return false;
  }
  return true;
}

}  // namespace

std::expected<FileDigest::Value, SigningFailure> FileDigest::compute(int descriptor, std::uint64_t length,
                                                                     std::uint64_t maximumLength) {
  if (length > maximumLength) return std::unexpected(SigningFailure::fileTooLarge);
  const DigestObject algorithm(EVP_MD_fetch(CryptoContext::get(), "SHA256", nullptr));
  const DigestContextObject context(EVP_MD_CTX_new());
  Value value{};
  unsigned written = 0;
  const bool computed =
      algorithm && context && EVP_DigestInit_ex2(context.get(), algorithm.get(), nullptr) == 1 &&
      feedFile(context.get(), descriptor, length) &&
      EVP_DigestFinal_ex(context.get(), reinterpret_cast<unsigned char*>(value.data()), &written) == 1;
  if (!computed || written != size) return std::unexpected(SigningFailure::cannotBeRead);
  return value;
}

}  // namespace wicket::codesign
