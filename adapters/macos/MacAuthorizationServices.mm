// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/macos/MacAuthorizationServices.h"

#import <Foundation/Foundation.h>
#import <Security/Security.h>
#include <algorithm>
#include <array>
#include <deque>
#include <memory>
#include <mutex>

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

/// The form at the start of a new buffer, which is never released: the framework may go on using what it was given.
const ::AuthorizationExternalForm* retained(const AuthorizationExternalForm& form) {
  using Buffer = std::array<std::byte, 32768>;
  static auto& mutex = *new std::mutex;  // never destroyed: threads may outlive main
  static auto& buffers = *new std::deque<std::unique_ptr<Buffer>>;
  const std::lock_guard lock(mutex);
  const auto& buffer = buffers.emplace_back(std::make_unique<Buffer>());
  std::ranges::copy(form, buffer->begin());
  return reinterpret_cast<const ::AuthorizationExternalForm*>(buffer->data());
}

}  // namespace

std::expected<std::shared_ptr<AuthorizationReference>, AuthorizationStatus>
MacAuthorizationServices::createFromExternalForm(const AuthorizationExternalForm& form) {
  AuthorizationRef reference = nullptr;
  const OSStatus status = AuthorizationCreateFromExternalForm(retained(form), &reference);
  if (status != errAuthorizationSuccess) return std::unexpected(status);
  if (reference == nullptr) return nullptr;
  return std::make_shared<MacAuthorization>(reference);
}

/// The question shows no details: an environment could only replace its text.
AuthorizationStatus MacAuthorizationServices::copyRights(AuthorizationReference& reference,
                                                         const std::string& rightName,
                                                         const AuthorizationDetails& /*details*/) {
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
