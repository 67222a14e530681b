// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <array>
#include <cstddef>
#include <expected>
#include <memory>
#include <openssl/x509.h>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace wicket::codesign {

using Sha1Digest = std::array<std::byte, 20>;
using Sha256Digest = std::array<std::byte, 32>;

/// Why bytes are no certificate.
struct CertificateError {
  std::string message;
};

/// An X.509 certificate, never empty and never changed. Copies share it. Any thread. That one exists
/// says nothing about who signed it.
class Certificate {
 public:
  /// @p der must be one certificate and nothing behind it.
  [[nodiscard]] static std::expected<Certificate, CertificateError> fromDer(std::span<const std::byte> der);
  /// The first certificate of @p pem.
  [[nodiscard]] static std::expected<Certificate, CertificateError> fromPem(std::string_view pem);
  /// All certificates of @p pem in their order, at least one. Blocks that are no certificates are
  /// passed over.
  [[nodiscard]] static std::expected<std::vector<Certificate>, CertificateError> allFromPem(std::string_view pem);
  /// Takes a reference of its own to @p certificate, which must not be null nor be changed any more.
  [[nodiscard]] static Certificate retaining(X509* certificate);

  /// The text of a subject's attribute as UTF-8, whatever may be in it: a NUL is a character. The name
  /// is one of C, CN, D (description), L, O, OU, ST, STREET and UID; none if it is another, if the
  /// subject has no such attribute, or if its text cannot be told. If there are several it is the last.
  [[nodiscard]] std::optional<std::string> subjectAttribute(std::string_view shortName) const;
  /// Whether there is an extension with this dotted object identifier, whatever its content.
  [[nodiscard]] bool hasExtension(std::string_view objectIdentifier) const;
  /// Whether the certificate policies name this dotted object identifier.
  [[nodiscard]] bool hasPolicy(std::string_view objectIdentifier) const;
  /// The subject in one line for people to read. Control characters are escaped.
  [[nodiscard]] std::string subjectText() const;

  [[nodiscard]] Sha1Digest sha1() const;
  [[nodiscard]] Sha256Digest sha256() const;
  [[nodiscard]] std::vector<std::byte> der() const;

  /// For OpenSSL's functions, most of which do not want it const. It lives as long as this does.
  [[nodiscard]] X509* x509() const { return x509_.get(); }

  /// Whether both are the same bytes.
  bool operator==(const Certificate& other) const { return X509_cmp(x509(), other.x509()) == 0; }

 private:
  explicit Certificate(std::shared_ptr<X509> x509) : x509_(std::move(x509)) {}
  [[nodiscard]] static Certificate owning(X509* certificate);

  std::shared_ptr<X509> x509_;
};

/// Certificates from the leaf, which signed the code, to the root. Whether each was signed by the next
/// is for those to have verified who made the chain.
class CertificateChain {
 public:
  CertificateChain() = default;
  explicit CertificateChain(std::vector<Certificate> leafFirst) : certificates_(std::move(leafFirst)) {}

  /// 0 is the leaf, 1 what is directly above it, -1 the root, -2 what is directly below that. Null when
  /// the chain is too short. It lives as long as the chain stays as it is.
  [[nodiscard]] const Certificate* at(int index) const {
    const auto size = static_cast<std::ptrdiff_t>(certificates_.size());
    const std::ptrdiff_t fromLeaf = index < 0 ? size + index : index;
    return fromLeaf >= 0 && fromLeaf < size ? &certificates_[static_cast<std::size_t>(fromLeaf)] : nullptr;
  }
  [[nodiscard]] const Certificate* leaf() const { return at(0); }
  [[nodiscard]] const Certificate* root() const { return at(-1); }
  /// The leaf first.
  [[nodiscard]] const std::vector<Certificate>& certificates() const { return certificates_; }

 private:
  std::vector<Certificate> certificates_;
};

}  // namespace wicket::codesign
