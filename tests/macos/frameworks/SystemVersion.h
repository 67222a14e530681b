// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

namespace wicket::frameworks {

/// The version of macOS that the program finds itself on; 14.0 unless set.
void setSystemVersion(int major, int minor);
/// "macOS 11.0"
[[nodiscard]] bool systemIsAtLeast(const char* platformAndVersion);

}  // namespace wicket::frameworks

// On Linux the compiler takes every @available for true when it compiles. So the word is replaced by an expression
// that still begins with @ and that asks when the program runs.
#define available(version, ...) encode(char)[0] != '\0' && wicket::frameworks::systemIsAtLeast(#version)
#define __builtin_available(version, ...) wicket::frameworks::systemIsAtLeast(#version)
