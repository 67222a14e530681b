// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/macos/frameworks/UnifiedLog.h"

#include <cstdarg>
#include <cstdio>
#import <os/log.h>
#include <string>

#include "tests/macos/frameworks/Recording.h"

namespace wicket::frameworks {

std::atomic<bool> UnifiedLog::takesFaults = true;

}  // namespace wicket::frameworks

struct os_log_s {};

extern "C" {

os_log_s _os_log_default;

bool os_log_type_enabled(os_log_t log, os_log_type_t type) {
  return log == OS_LOG_DEFAULT && (type != OS_LOG_TYPE_FAULT || wicket::frameworks::UnifiedLog::takesFaults);
}

void wicketRecordLogEntry(os_log_t log, os_log_type_t type, const char* format, ...) {
  char text[512];
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  const std::string name = type == OS_LOG_TYPE_FAULT ? "fault" : std::to_string(type);
  wicket::frameworks::Recording::add((log == OS_LOG_DEFAULT ? "log " : "another log ") + name + " " + format + ": " +
                                     text);
}
}
