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

class MacCode final : public Code {
 public:
  MacCode(CfReference<SecCodeRef> code, CfReference<SecStaticCodeRef> staticCode)
      : code_(std::move(code)), staticCode_(std::move(staticCode)) {}

  [[nodiscard]] std::expected<SigningInformation, CodeSigningStatus> signingInformation() const override {
    @autoreleasepool {
      CFDictionaryRef copied = nullptr;
      const OSStatus status = SecCodeCopySigningInformation(staticCode_.get(), kSecCSDynamicInformation, &copied);
      NSDictionary* information = (__bridge_transfer NSDictionary*)copied;
      if (status != errSecSuccess) return std::unexpected(status);
      return SigningInformation{
          .flags = signingFlags(information[(__bridge NSString*)kSecCodeInfoFlags]),
          .entitlementsDict = entitlements(information[(__bridge NSString*)kSecCodeInfoEntitlementsDict])};
    }
  }

  [[nodiscard]] CodeSigningStatus meets(const std::string& requirement) const override {
    @autoreleasepool {
      NSString* text = foundationText(requirement);
      if (text == nil) return code_signing_status::requirementInvalid;
      CfReference<SecRequirementRef> compiled;
      const OSStatus status =
          SecRequirementCreateWithString((__bridge CFStringRef)text, kSecCSDefaultFlags, compiled.receive());
      if (status != errSecSuccess) return status;
      // A null requirement would be met by everybody.
      if (compiled.isNull()) return code_signing_status::requirementInvalid;
      return SecCodeCheckValidity(code_.get(), kSecCSDefaultFlags, compiled.get());
    }
  }

 private:
  const CfReference<SecCodeRef> code_;
  const CfReference<SecStaticCodeRef> staticCode_;
};

}  // namespace

std::expected<std::shared_ptr<const Code>, CodeSigningStatus> MacCodeSigningServices::identify(
    const AuditTokenData& token) {
  @autoreleasepool {
    NSData* bytes = [NSData dataWithBytes:token.data() length:token.size()];
    NSDictionary* attributes = @{(__bridge NSString*)kSecGuestAttributeAudit : bytes};
    CfReference<SecCodeRef> code;
    const OSStatus status = SecCodeCopyGuestWithAttributes(nullptr, (__bridge CFDictionaryRef)attributes,
                                                           kSecCSDefaultFlags, code.receive());
    if (status != errSecSuccess) return std::unexpected(status);
    if (code.isNull()) return nullptr;
    CfReference<SecStaticCodeRef> staticCode;
    // The reference tells whether there is one; its absence is all that a status could say.
    (void)SecCodeCopyStaticCode(code.get(), kSecCSDefaultFlags, staticCode.receive());
    if (staticCode.isNull()) return nullptr;
    return std::make_shared<const MacCode>(std::move(code), std::move(staticCode));
  }
}

}  // namespace wicket::macos_adapter
