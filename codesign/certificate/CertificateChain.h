// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "codesign/certificate/Certificate.h"

namespace wicket::codesign {

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
