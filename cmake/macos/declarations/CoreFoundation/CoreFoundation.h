// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <MacTypes.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

// The few documented declarations that the helper uses, for machines without Apple's SDK.

#define WICKET_CF_BRIDGED(Type) __attribute__((objc_bridge(Type)))

extern "C" {

typedef const void* CFTypeRef;
typedef const struct WICKET_CF_BRIDGED(NSString) __CFString* CFStringRef;
typedef const struct WICKET_CF_BRIDGED(NSDictionary) __CFDictionary* CFDictionaryRef;

void CFRelease(CFTypeRef cf);

}  // extern "C"
