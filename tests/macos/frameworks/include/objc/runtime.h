// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <objc/NSObject.h>

extern "C" {
Class object_getClass(id object);
SEL sel_registerName(const char* text);
}
