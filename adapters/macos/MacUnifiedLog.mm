// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/macos/MacUnifiedLog.h"

#import <Foundation/Foundation.h>
#import <os/log.h>
#include <string>

namespace wicket::macos_adapter {

bool MacUnifiedLog::isAvailable() const {
  if (@available(macOS 11.0, *)) return true;
  return false;
}

bool MacUnifiedLog::isFaultEnabled() const { return os_log_type_enabled(OS_LOG_DEFAULT, OS_LOG_TYPE_FAULT); }

void MacUnifiedLog::fault(std::string_view text, std::string_view explanation) {
  os_log_fault(OS_LOG_DEFAULT, "%s - %s", std::string(text).c_str(), std::string(explanation).c_str());
}

}  // namespace wicket::macos_adapter
