// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include "cmake/macos/declarations/CoreFoundation/CoreFoundation.h"

// What no adapter uses, for the doubles.

extern "C" {

CFTypeRef CFRetain(CFTypeRef object);

}  // extern "C"
