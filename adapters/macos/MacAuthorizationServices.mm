// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/macos/MacAuthorizationServices.h"

#import <Foundation/Foundation.h>
#import <Security/Security.h>
#include <bit>

#include "adapters/macos/Text.h"

namespace wicket::macos_adapter {
namespace {

class MacAuthorization final : public AuthorizationReference {
 public:
  explicit MacAuthorization(AuthorizationRef reference) : reference_(reference) {}
  [[nodiscard]] AuthorizationRef get() const { return reference_; }

 private:
  const AuthorizationRef reference_;
};

}  // namespace

std::expected<std::shared_ptr<AuthorizationReference>, AuthorizationStatus>
MacAuthorizationServices::createFromExternalForm(const AuthorizationExternalForm& form) {
  const auto external = std::bit_cast<::AuthorizationExternalForm>(form);
  AuthorizationRef reference = nullptr;
  const OSStatus status = AuthorizationCreateFromExternalForm(&external, &reference);
  if (status != errAuthorizationSuccess) return std::unexpected(status);
  if (reference == nullptr) return nullptr;
  return std::make_shared<MacAuthorization>(reference);
}

AuthorizationStatus MacAuthorizationServices::copyRights(AuthorizationReference& reference,
                                                         const std::string& rightName) {
  AuthorizationItem item{.name = rightName.c_str(), .valueLength = 0, .value = nullptr, .flags = 0};
  const AuthorizationRights rights{.count = 1, .items = &item};
  constexpr AuthorizationFlags flags = kAuthorizationFlagExtendRights | kAuthorizationFlagInteractionAllowed;
  return AuthorizationCopyRights(static_cast<MacAuthorization&>(reference).get(), &rights, nullptr, flags, nullptr);
}

std::optional<std::string> MacAuthorizationServices::errorMessage(AuthorizationStatus status) {
  @autoreleasepool {
    NSString* message = (__bridge_transfer NSString*)SecCopyErrorMessageString(status, nullptr);
    return message == nil ? std::nullopt : utf8Text(message);
  }
}

}  // namespace wicket::macos_adapter
