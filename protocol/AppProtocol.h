// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <array>
#include <string>

#include "protocol/Selector.h"

namespace wicket {

/// What the companion exports and the helper calls back.
class AppProtocol {
 public:
  AppProtocol() = default;
  AppProtocol(const AppProtocol&) = delete;
  AppProtocol& operator=(const AppProtocol&) = delete;
  virtual ~AppProtocol() = default;

  /// One way, from any thread: never blocks and never reports a failure. @p text is valid UTF-8.
  virtual void logWithStdOut(const std::string& text) = 0;
};

namespace app_protocol {

namespace detail {
inline constexpr std::array string{ArgumentType::string};
}  // namespace detail

inline constexpr Selector logWithStdOut{"logWithStdOut:", detail::string, {}};

namespace detail {
inline constexpr std::array all{logWithStdOut};
}  // namespace detail

inline constexpr Interface interface{"AppProtocol", detail::all};

}  // namespace app_protocol
}  // namespace wicket
