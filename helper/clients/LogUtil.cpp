// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors

#include "helper/clients/LogUtil.h"

namespace wicket {

void LogUtil::log(UnifiedLog& unifiedLog, std::string_view text, std::string_view explanation) {
  if (!unifiedLog.isAvailable()) return;
  if (!unifiedLog.isFaultEnabled()) return;
  unifiedLog.fault(text, explanation);
}

void LogUtil::log(const std::string& text, const std::shared_ptr<Connection>& connection) {
  if (text.empty() || connection == nullptr) return;
  const auto proxy = connection->remoteObjectProxy();
  if (proxy == nullptr) return;
  proxy->logWithStdOut(text);
}

}  // namespace wicket
