// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <CoreFoundation/CoreFoundation.h>

// The few documented declarations that the helper uses, for machines without Apple's SDK.

extern "C" {

enum : OSStatus { errSecSuccess = 0 };

// Code Signing Services

typedef struct WICKET_CF_BRIDGED(id) __SecCode* SecCodeRef;
typedef const struct WICKET_CF_BRIDGED(id) __SecCode* SecStaticCodeRef;
typedef struct WICKET_CF_BRIDGED(id) __SecRequirement* SecRequirementRef;
typedef uint32_t SecCSFlags;
enum : SecCSFlags { kSecCSDefaultFlags = 0, kSecCSDynamicInformation = 1 << 3 };

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

// Authorization Services

typedef const struct AuthorizationOpaqueRef* AuthorizationRef;
typedef const char* AuthorizationString;
typedef uint32_t AuthorizationFlags;

enum : OSStatus { errAuthorizationSuccess = 0 };
enum : AuthorizationFlags { kAuthorizationFlagInteractionAllowed = 1 << 0, kAuthorizationFlagExtendRights = 1 << 1 };
enum { kAuthorizationExternalFormLength = 32 };

typedef struct {
  char bytes[kAuthorizationExternalFormLength];
} AuthorizationExternalForm;

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
                                 AuthorizationRights** authorizedRights);

}  // extern "C"
