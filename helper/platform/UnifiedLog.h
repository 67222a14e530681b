// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string_view>

namespace wicket {

/// The system's log. Any thread; no failure is reported.
class UnifiedLog {
 public:
  UnifiedLog() = default;
  UnifiedLog(const UnifiedLog&) = delete;
  UnifiedLog& operator=(const UnifiedLog&) = delete;
  virtual ~UnifiedLog() = default;

  /// Whether the running system has the log at all (on macOS: 11.0 or later).
  [[nodiscard]] virtual bool isAvailable() const = 0;
  [[nodiscard]] virtual bool isFaultEnabled() const = 0;
  /// One entry of type fault (journal priority 2) with the format "%s - %s". Only called when both
  /// tests above hold.
  virtual void fault(std::string_view text, std::string_view explanation) = 0;
};

}  // namespace wicket
