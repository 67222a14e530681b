// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors

// Every object of a C framework is an Objective-C object here, as most are on macOS.
#include "tests/macos/runtime/Objects.h"

using wicket::objc::Object;

extern "C" {

const void* CFRetain(const void* object) { return objc_retain(static_cast<Object*>(const_cast<void*>(object))); }
void CFRelease(const void* object) { objc_release(static_cast<Object*>(const_cast<void*>(object))); }
}
