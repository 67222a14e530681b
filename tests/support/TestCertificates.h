// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <chrono>
#include <memory>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace wicket::support {

struct SubjectPart {
  std::string name;   ///< CN, O, ... or a dotted object identifier
  std::string value;  ///< UTF-8, in which a NUL is a character
};

/// What a certificate is made of. As it stands it is a leaf for code signing, valid now.
struct CertificateRecipe {
  std::vector<SubjectPart> subject{{"CN", "Leaf"}};
  /// Each a dotted object identifier; the extension's content is a DER NULL.
  std::vector<std::string> extensions;
  std::vector<std::string> policies;  ///< dotted object identifiers
  bool hasBasicConstraints = true;
  bool isAuthority = false;
  std::optional<long> pathLength;
  bool hasKeyUsage = true;  ///< to sign certificates if it is an authority, else to sign data
  /// The extended key usages by their short names or dotted object identifiers; none, no extension.
  std::vector<std::string> extendedKeyUsages{"codeSigning"};
  std::chrono::seconds validFrom = -std::chrono::hours(1);  ///< counted from now
  std::chrono::seconds validTo = std::chrono::hours(24);    ///< counted from now
};

/// The beginnings of recipes. An authority has no extended key usage.
[[nodiscard]] CertificateRecipe authorityRecipe(std::string commonName);
[[nodiscard]] CertificateRecipe leafRecipe(std::string commonName);

/// A certificate and its private key, P-256, both made anew. Copies share them.
class TestCertificate {
 public:
  [[nodiscard]] static TestCertificate selfSigned(const CertificateRecipe& recipe);
  [[nodiscard]] TestCertificate issue(const CertificateRecipe& recipe) const;

  [[nodiscard]] X509* x509() const { return x509_.get(); }
  [[nodiscard]] EVP_PKEY* key() const { return key_.get(); }
  [[nodiscard]] std::string der() const;
  [[nodiscard]] std::string pem() const;
  [[nodiscard]] std::string keyPem() const;  ///< PKCS #8, not encrypted

 private:
  TestCertificate(std::shared_ptr<X509> x509, std::shared_ptr<EVP_PKEY> key)
      : x509_(std::move(x509)), key_(std::move(key)) {}
  [[nodiscard]] static TestCertificate make(const CertificateRecipe& recipe, const TestCertificate* issuer);

  std::shared_ptr<X509> x509_;
  std::shared_ptr<EVP_PKEY> key_;
};

/// A root, an authority below it and a leaf below that.
struct TestChain {
  TestCertificate root;
  TestCertificate intermediate;
  TestCertificate leaf;

  [[nodiscard]] static TestChain make(const CertificateRecipe& rootRecipe, const CertificateRecipe& intermediateRecipe,
                                      const CertificateRecipe& leafRecipe);
  /// What signs a maker's programs outside the store: the intermediate and the leaf have the extension
  /// fields of that, and the leaf is named after the holder and the team.
  [[nodiscard]] static TestChain developerId(const std::string& holder = "Wicket Development",
                                             const std::string& team = "DEVELOPER0");
  /// What signs the programs of the store: the leaf alone has an extension field.
  [[nodiscard]] static TestChain store();

  [[nodiscard]] std::string pem() const;  ///< the leaf first
};

}  // namespace wicket::support
