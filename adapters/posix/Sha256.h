// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstddef>
#include <memory>
#include <span>

#include "helper/platform/SourceFiles.h"

namespace wicket::posix {

/// A SHA-256 that is computed piece by piece, by the system's library. All that it needs is there when it has been
/// made: from then on it opens nothing.
class Sha256 {
 public:
  /// Throws std::bad_alloc.
  Sha256();
  Sha256(Sha256&&) noexcept;
  Sha256& operator=(Sha256&&) noexcept;
  Sha256(const Sha256&) = delete;
  Sha256& operator=(const Sha256&) = delete;
  ~Sha256();

  void update(std::span<const std::byte> bytes);
  /// The digest of all that it was given; to be called once, at the end.
  [[nodiscard]] ContentDigest finish();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace wicket::posix
