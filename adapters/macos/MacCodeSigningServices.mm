// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/macos/MacCodeSigningServices.h"

#import <Foundation/Foundation.h>
#import <Security/Security.h>
#include <limits>
#include <string_view>
#include <utility>

#include "adapters/macos/CfReference.h"
#include "adapters/macos/Text.h"

namespace wicket::macos_adapter {
namespace {

/// A reference of the framework's in place of the seam's opaque class.
template <class Opaque, class Reference>
class Referenced final : public Opaque {
 public:
  explicit Referenced(CfReference<Reference> reference) : reference_(std::move(reference)) {}
  [[nodiscard]] static Reference in(const Opaque& object) {
    return static_cast<const Referenced&>(object).reference_.get();
  }

 private:
  CfReference<Reference> reference_;
};

using MacCode = Referenced<Code, SecCodeRef>;
using MacStaticCode = Referenced<StaticCode, SecStaticCodeRef>;
using MacRequirement = Referenced<Requirement, SecRequirementRef>;

/// Null for a null reference.
template <class Mac, class Reference>
std::shared_ptr<Mac> sharedOrNull(CfReference<Reference> reference) {
  return reference.isNull() ? nullptr : std::make_shared<Mac>(std::move(reference));
}

bool isFloat(NSNumber* number) {
  const std::string_view type = number.objCType;
  return type == "d" || type == "f";
}

/// A truth value counts as the number 1 or 0 here, as it does for the framework.
EntitlementValue entitlementValue(id value) {
  if (![value isKindOfClass:[NSNumber class]]) return NonNumericValue{};
  NSNumber* number = value;
  if (isFloat(number)) return number.doubleValue;
  return std::int64_t{number.longLongValue};
}

std::optional<std::uint32_t> signingFlags(id value) {
  if (![value isKindOfClass:[NSNumber class]] || isFloat(value)) return std::nullopt;
  const long long number = [value longLongValue];
  if (number < 0 || number > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
  return static_cast<std::uint32_t>(number);
}

std::optional<EntitlementsDictionary> entitlements(id value) {
  if (![value isKindOfClass:[NSDictionary class]]) return std::nullopt;
  NSDictionary* dictionary = value;
  EntitlementsDictionary found;
  for (id key in dictionary) {
    if (![key isKindOfClass:[NSString class]]) continue;
    if (auto name = utf8Text(key)) found.emplace(*std::move(name), entitlementValue(dictionary[key]));
  }
  return found;
}

}  // namespace

std::expected<std::shared_ptr<Code>, CodeSigningStatus> MacCodeSigningServices::copyGuestWithAttributes(
    const AuditTokenData& token) {
  @autoreleasepool {
    NSData* bytes = [NSData dataWithBytes:token.data() length:token.size()];
    NSDictionary* attributes = @{(__bridge NSString*)kSecGuestAttributeAudit : bytes};
    CfReference<SecCodeRef> code;
    const OSStatus status = SecCodeCopyGuestWithAttributes(nullptr, (__bridge CFDictionaryRef)attributes,
                                                           kSecCSDefaultFlags, code.receive());
    if (status != errSecSuccess) return std::unexpected(status);
    return sharedOrNull<MacCode>(std::move(code));
  }
}

std::shared_ptr<StaticCode> MacCodeSigningServices::copyStaticCode(Code& code) {
  CfReference<SecStaticCodeRef> staticCode;
  // The reference tells whether there is one; its absence is all that a status could say.
  (void)SecCodeCopyStaticCode(MacCode::in(code), kSecCSDefaultFlags, staticCode.receive());
  return sharedOrNull<MacStaticCode>(std::move(staticCode));
}

std::expected<SigningInformation, CodeSigningStatus> MacCodeSigningServices::copySigningInformation(
    StaticCode& code, std::uint32_t flags) {
  @autoreleasepool {
    CFDictionaryRef copied = nullptr;
    const OSStatus status = SecCodeCopySigningInformation(MacStaticCode::in(code), flags, &copied);
    NSDictionary* information = (__bridge_transfer NSDictionary*)copied;
    if (status != errSecSuccess) return std::unexpected(status);
    return SigningInformation{
        .flags = signingFlags(information[(__bridge NSString*)kSecCodeInfoFlags]),
        .entitlementsDict = entitlements(information[(__bridge NSString*)kSecCodeInfoEntitlementsDict])};
  }
}

std::expected<std::shared_ptr<Requirement>, CodeSigningStatus> MacCodeSigningServices::createRequirement(
    const std::string& text) {
  @autoreleasepool {
    NSString* requirementText = foundationText(text);
    if (requirementText == nil) return std::unexpected(code_signing_status::requirementInvalid);
    CfReference<SecRequirementRef> requirement;
    const OSStatus status = SecRequirementCreateWithString((__bridge CFStringRef)requirementText, kSecCSDefaultFlags,
                                                           requirement.receive());
    if (status != errSecSuccess) return std::unexpected(status);
    return sharedOrNull<MacRequirement>(std::move(requirement));
  }
}

CodeSigningStatus MacCodeSigningServices::checkValidity(Code& code, const Requirement& requirement) {
  return SecCodeCheckValidity(MacCode::in(code), kSecCSDefaultFlags, MacRequirement::in(requirement));
}

}  // namespace wicket::macos_adapter
