// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "helper/platform/Connection.h"
#include "helper/platform/UnifiedLog.h"

namespace wicket {

/// The two places that text goes to. Neither function fails visibly or calls the other. Any thread.
struct LogUtil {
  /// One fault entry "text - explanation"; nothing where the system has no such log or has faults
  /// disabled. An empty explanation leaves the separator at the end.
  static void log(UnifiedLog& unifiedLog, std::string_view text, std::string_view explanation);
  /// One line to a client; nothing when the text is empty, there is no connection, or the client's
  /// object is not of AppProtocol.
  static void log(const std::string& text, const std::shared_ptr<Connection>& connection);
};

}  // namespace wicket
