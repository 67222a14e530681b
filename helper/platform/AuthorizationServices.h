// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace wicket {

/// 0 is success; the others are the platform's authorization statuses, e.g. -60005 (denied).
using AuthorizationStatus = std::int32_t;

namespace authorization_status {
inline constexpr AuthorizationStatus success = 0;
inline constexpr AuthorizationStatus denied = -60005;
inline constexpr AuthorizationStatus canceled = -60006;
inline constexpr AuthorizationStatus interactionNotAllowed = -60007;
inline constexpr AuthorizationStatus internal = -60008;
}  // namespace authorization_status

/// The portable form in which a client hands over its authorization.
inline constexpr std::size_t authorizationExternalFormLength = 32;
using AuthorizationExternalForm = std::array<std::byte, authorizationExternalFormLength>;

/// One thing that a question tells besides what the right is for. Both are ASCII and safe to show; how a question names
/// the detail is part of the right's own text.
struct AuthorizationDetail {
  std::string name;
  std::string value;
  friend bool operator==(const AuthorizationDetail&, const AuthorizationDetail&) = default;
};
using AuthorizationDetails = std::vector<AuthorizationDetail>;

/// A live authorization of some client; opaque to everybody but the platform that made it. Its holder may
/// never let go of it: it takes 256 bytes at most and keeps nothing open.
class AuthorizationReference {
 public:
  AuthorizationReference() = default;
  AuthorizationReference(const AuthorizationReference&) = delete;
  AuthorizationReference& operator=(const AuthorizationReference&) = delete;
  virtual ~AuthorizationReference() = default;
};

/// Asks the system, and through it the user, for a right. Any thread.
class AuthorizationServices {
 public:
  AuthorizationServices() = default;
  AuthorizationServices(const AuthorizationServices&) = delete;
  AuthorizationServices& operator=(const AuthorizationServices&) = delete;
  virtual ~AuthorizationServices() = default;

  /// Bytes that name no live authorization give -60005, an unreachable service -60008. The
  /// reference may be null on success; it is never freed by the platform while someone holds it.
  [[nodiscard]] virtual std::expected<std::shared_ptr<AuthorizationReference>, AuthorizationStatus>
  createFromExternalForm(const AuthorizationExternalForm& form) = 0;
  /// Extends the authorization by the right of that name, with interaction allowed: blocks, without
  /// a time limit, until the user has answered or the client has gone. Where the platform's question can show
  /// @p details it does.
  [[nodiscard]] virtual AuthorizationStatus copyRights(AuthorizationReference& reference, const std::string& rightName,
                                                       const AuthorizationDetails& details) = 0;
  /// The platform's text for a status ("The authorization was denied."), if it has one.
  [[nodiscard]] virtual std::optional<std::string> errorMessage(AuthorizationStatus status) = 0;
};

}  // namespace wicket
