// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <MacTypes.h>
#include <stddef.h>

extern "C" {
enum : OSStatus { errSecSuccess = 0 };

// Code signing
typedef struct CF_BRIDGED_TO(id) WicketSecCode* SecCodeRef;
typedef const struct CF_BRIDGED_TO(id) WicketSecCode* SecStaticCodeRef;
typedef struct CF_BRIDGED_TO(id) WicketSecRequirement* SecRequirementRef;
typedef uint32_t SecCSFlags;
enum : SecCSFlags { kSecCSDefaultFlags = 0, kSecCSDynamicInformation = 1 << 3 };
enum : uint32_t { kSecCodeSignatureRuntime = 0x10000 };

extern const CFStringRef kSecGuestAttributeAudit;
extern const CFStringRef kSecCodeInfoFlags;
extern const CFStringRef kSecCodeInfoEntitlementsDict;

OSStatus SecCodeCopyGuestWithAttributes(SecCodeRef host, CFDictionaryRef attributes, SecCSFlags flags,
                                        SecCodeRef* guest);
OSStatus SecCodeCopyStaticCode(SecCodeRef code, SecCSFlags flags, SecStaticCodeRef* staticCode);
OSStatus SecCodeCopySigningInformation(SecStaticCodeRef code, SecCSFlags flags, CFDictionaryRef* information);
OSStatus SecRequirementCreateWithString(CFStringRef text, SecCSFlags flags, SecRequirementRef* requirement);
OSStatus SecCodeCheckValidity(SecCodeRef code, SecCSFlags flags, SecRequirementRef requirement);
CFStringRef SecCopyErrorMessageString(OSStatus status, void* reserved);

// Authorization
enum : OSStatus { errAuthorizationSuccess = 0 };
typedef const struct AuthorizationOpaqueRef* AuthorizationRef;
typedef uint32_t AuthorizationFlags;
enum : AuthorizationFlags {
  kAuthorizationFlagDefaults = 0,
  kAuthorizationFlagInteractionAllowed = 1,
  kAuthorizationFlagExtendRights = 2,
  kAuthorizationFlagPartialRights = 4,
  kAuthorizationFlagDestroyRights = 8,
  kAuthorizationFlagPreAuthorize = 16,
};
enum { kAuthorizationExternalFormLength = 32 };
typedef struct {
  char bytes[kAuthorizationExternalFormLength];
} AuthorizationExternalForm;
typedef const char* AuthorizationString;
typedef struct {
  AuthorizationString name;
  size_t valueLength;
  void* value;
  uint32_t flags;
} AuthorizationItem;
typedef struct {
  uint32_t count;
  AuthorizationItem* items;
} AuthorizationItemSet;
typedef AuthorizationItemSet AuthorizationRights;
typedef AuthorizationItemSet AuthorizationEnvironment;

OSStatus AuthorizationCreateFromExternalForm(const AuthorizationExternalForm* form, AuthorizationRef* authorization);
OSStatus AuthorizationCopyRights(AuthorizationRef authorization, const AuthorizationRights* rights,
                                 const AuthorizationEnvironment* environment, AuthorizationFlags flags,
                                 AuthorizationRights** granted);
OSStatus AuthorizationFree(AuthorizationRef authorization, AuthorizationFlags flags);
}
