// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include "cmake/macos/declarations/Security/Security.h"

// What no adapter uses, or uses by a name of the core's: for the doubles, and for what tests expect.

enum : uint32_t { kSecCodeSignatureRuntime = 0x10000 };

extern "C" {

OSStatus AuthorizationFree(AuthorizationRef authorization, AuthorizationFlags flags);

}  // extern "C"
