// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <array>
#include <cstdint>
#include <expected>

#include "wire/AuthorizationToken.h"

namespace wicket::companion {

/// What this process sends along with a request that needs the user's consent: its own identity, for which
/// the helper asks polkit. It holds no secret and stays valid for the life of the process.
class AuthorizationRequest {
 public:
  /// The error is an errno: /proc is not mounted, for example.
  [[nodiscard]] static std::expected<AuthorizationRequest, int> forThisProcess();

  [[nodiscard]] wire::AuthorizationToken::Bytes externalForm() const { return token_.serialize(); }
  [[nodiscard]] const wire::AuthorizationToken& token() const { return token_; }

 private:
  explicit AuthorizationRequest(const wire::AuthorizationToken& token) : token_(token) {}

  wire::AuthorizationToken token_;
};

}  // namespace wicket::companion
