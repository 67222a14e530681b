// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstddef>
#include <span>

namespace wicket::resources {

/// The root certificate that the companion's signature must lead to.
class TrustedAnchor {
 public:
  /// One X.509 certificate in DER. Static storage.
  [[nodiscard]] static std::span<const std::byte> der();
};

}  // namespace wicket::resources
