// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/macos/frameworks/CodeSigning.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

#include "tests/macos/frameworks/Recording.h"
#include "tests/macos/frameworks/Strings.h"

using wicket::frameworks::CodeSigning;
using wicket::frameworks::Recording;

// One class for each kind of reference, so that a mix-up shows and that what is not released counts as alive.
@interface WicketSecCodeObject : NSObject
@end
@implementation WicketSecCodeObject
@end
@interface WicketSecStaticCodeObject : NSObject
@end
@implementation WicketSecStaticCodeObject
@end
@interface WicketSecRequirementObject : NSObject
@end
@implementation WicketSecRequirementObject
@end

namespace {

CodeSigning& answers() {
  static auto& result = *new CodeSigning;
  return result;
}

/// The real functions would look into memory of another kind.
void requireKind(const void* reference, Class kind) {
  if ([(__bridge id)reference isKindOfClass:kind]) return;
  std::fputs("a function of the Security framework was given a reference of another kind, or none\n", stderr);
  std::abort();
}

std::string hexadecimal(NSData* data) {
  std::string text;
  const auto* const bytes = static_cast<const unsigned char*>(data.bytes);
  for (NSUInteger i = 0; i < data.length; ++i) {
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02x", bytes[i]);
    text += digits;
  }
  return text;
}

std::string attributesText(NSDictionary* attributes) {
  std::string text;
  for (NSString* key in attributes) {
    id value = attributes[key];
    text += std::string(key.wicketText) + "=";
    text += [value isKindOfClass:[NSData class]] ? hexadecimal(value) : "?";
  }
  return text;
}

std::string flagsText(SecCSFlags flags) { return " flags " + std::to_string(flags); }

}  // namespace

namespace wicket::frameworks {

CodeSigning CodeSigning::genuine() {
  CodeSigning result;
  result.information = @{@"flags" : @(kSecCodeSignatureRuntime), @"entitlements-dict" : @{}};
  return result;
}

void CodeSigning::answer(CodeSigning given) { ::answers() = std::move(given); }

}  // namespace wicket::frameworks

extern "C" {

const CFStringRef kSecGuestAttributeAudit = (__bridge CFStringRef) @"audit";
const CFStringRef kSecCodeInfoFlags = (__bridge CFStringRef) @"flags";
const CFStringRef kSecCodeInfoEntitlementsDict = (__bridge CFStringRef) @"entitlements-dict";

OSStatus SecCodeCopyGuestWithAttributes(SecCodeRef host, CFDictionaryRef attributes, SecCSFlags flags,
                                        SecCodeRef* guest) {
  Recording::add(std::string("guest of ") + (host == nullptr ? "no host" : "a host") + " with " +
                 attributesText((__bridge NSDictionary*)attributes) + flagsText(flags));
  if (answers().hasGuest) *guest = (__bridge_retained SecCodeRef)[[WicketSecCodeObject alloc] init];
  return answers().guestStatus;
}

OSStatus SecCodeCopyStaticCode(SecCodeRef code, SecCSFlags flags, SecStaticCodeRef* staticCode) {
  requireKind(code, [WicketSecCodeObject class]);
  Recording::add("static code" + flagsText(flags));
  if (answers().hasStaticCode) {
    *staticCode = (__bridge_retained SecStaticCodeRef)[[WicketSecStaticCodeObject alloc] init];
  }
  return answers().staticCodeStatus;
}

OSStatus SecCodeCopySigningInformation(SecStaticCodeRef code, SecCSFlags flags, CFDictionaryRef* information) {
  requireKind(code, [WicketSecStaticCodeObject class]);
  Recording::add("signing information" + flagsText(flags));
  if (answers().information != nil) *information = (__bridge_retained CFDictionaryRef)answers().information;
  return answers().informationStatus;
}

OSStatus SecRequirementCreateWithString(CFStringRef text, SecCSFlags flags, SecRequirementRef* requirement) {
  Recording::add("requirement" + flagsText(flags) + ": " + std::string(((__bridge NSString*)text).wicketText));
  if (answers().hasRequirement) {
    *requirement = (__bridge_retained SecRequirementRef)[[WicketSecRequirementObject alloc] init];
  }
  return answers().requirementStatus;
}

OSStatus SecCodeCheckValidity(SecCodeRef code, SecCSFlags flags, SecRequirementRef requirement) {
  requireKind(code, [WicketSecCodeObject class]);
  requireKind(requirement, [WicketSecRequirementObject class]);
  Recording::add("validity" + flagsText(flags));
  return answers().validityStatus;
}
}
