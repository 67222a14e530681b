// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <stdbool.h>
#include <stdint.h>

#define CF_BRIDGED_TO(Class) __attribute__((objc_bridge(Class)))

extern "C" {
typedef const void* CFTypeRef;
typedef const struct CF_BRIDGED_TO(NSString) WicketCFString* CFStringRef;
typedef const struct CF_BRIDGED_TO(NSDictionary) WicketCFDictionary* CFDictionaryRef;

CFTypeRef CFRetain(CFTypeRef object);
void CFRelease(CFTypeRef object);
}
