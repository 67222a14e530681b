// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

namespace wicket::support {

// GCC names them by macros of its own, and Clang by features.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool hasAddressSanitizer = true;
#elif defined(__has_feature)
inline constexpr bool hasAddressSanitizer = __has_feature(address_sanitizer);
#else
inline constexpr bool hasAddressSanitizer = false;
#endif

#if defined(__SANITIZE_THREAD__)
inline constexpr bool hasThreadSanitizer = true;
#elif defined(__has_feature)
inline constexpr bool hasThreadSanitizer = __has_feature(thread_sanitizer);
#else
inline constexpr bool hasThreadSanitizer = false;
#endif

/// Whether this program takes many times longer and much more memory than what is shipped.
inline constexpr bool isSanitized = hasAddressSanitizer || hasThreadSanitizer;

}  // namespace wicket::support
