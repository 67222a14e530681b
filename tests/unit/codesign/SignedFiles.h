// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <algorithm>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "base/system/Descriptor.h"
#include "codesign/certificate/SigningIdentity.h"
#include "codesign/signature/SignatureBlock.h"
#include "codesign/signature/SignatureTrailer.h"
#include "codesign/signature/SignatureVerifier.h"
#include "codesign/signature/Signer.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TestCertificates.h"

namespace wicket::codesign {

inline Certificate certificateOf(const support::TestCertificate& certificate) {
  return Certificate::retaining(certificate.x509());
}

/// The first certificate's key and all of them.
inline SigningIdentity identityWith(const std::vector<support::TestCertificate>& certificates) {
  EVP_PKEY_up_ref(certificates.front().key());
  std::vector<Certificate> chain;
  std::ranges::transform(certificates, std::back_inserter(chain), certificateOf);
  return SigningIdentity::fromParts(KeyObject(certificates.front().key()), std::move(chain)).value();
}

inline SigningIdentity identityOf(const support::TestChain& chain) {
  return identityWith({chain.leaf, chain.intermediate, chain.root});
}

inline std::vector<std::byte> bytesOf(std::string_view text) {
  std::vector<std::byte> bytes(text.size());
  std::ranges::transform(text, bytes.begin(), [](char character) { return static_cast<std::byte>(character); });
  return bytes;
}

inline std::string textOf(std::span<const std::byte> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// Files in a folder of their own, and a chain to sign them with.
class SignedFiles : public testing::Test {
 protected:
  [[nodiscard]] std::string pathOf(const std::string& name) const { return folder_.path(name); }
  [[nodiscard]] std::string fileWith(const std::string& content, const std::string& name = "program") const {
    std::ofstream(pathOf(name), std::ios::binary) << content;
    ::chmod(pathOf(name).c_str(), 0755);
    return pathOf(name);
  }
  [[nodiscard]] static std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  [[nodiscard]] static Descriptor opened(const std::string& path) {
    return Descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  }

  [[nodiscard]] std::string signedFile(const SigningRequest& request) const {
    return signedFile(request, identityOf(chain_));
  }
  [[nodiscard]] std::string signedFile(const SigningRequest& request, const SigningIdentity& identity) const {
    const std::string path = fileWith(script);
    const auto result = Signer::sign(path, request, identity);
    EXPECT_TRUE(result) << result.error();
    return path;
  }

  [[nodiscard]] std::expected<FileSignature, SigningFailure> verify(const std::string& path) const {
    return SignatureVerifier::verify(opened(path).get(), certificateOf(chain_.root));
  }
  [[nodiscard]] std::optional<SigningFailure> failureOf(const std::string& path) const {
    const auto signature = verify(path);
    return signature ? std::nullopt : std::optional(signature.error());
  }

  static constexpr char script[] = "#!/bin/sh\nexit 7\n";
  const SigningRequest request_{"net.orvane.Wicket", 0x10000, PropertyDictionary{}};
  support::TestChain chain_ = support::TestChain::developerId();

 private:
  support::TemporaryFolder folder_;
};

}  // namespace wicket::codesign
