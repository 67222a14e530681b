// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <stdbool.h>
#include <stdint.h>

typedef struct os_log_s* os_log_t;
typedef uint8_t os_log_type_t;
enum : os_log_type_t {
  OS_LOG_TYPE_DEFAULT = 0x00,
  OS_LOG_TYPE_INFO = 0x01,
  OS_LOG_TYPE_DEBUG = 0x02,
  OS_LOG_TYPE_ERROR = 0x10,
  OS_LOG_TYPE_FAULT = 0x11,
};

extern "C" {
extern struct os_log_s _os_log_default;
bool os_log_type_enabled(os_log_t log, os_log_type_t type);
/// Records the entry. The real one keeps the format and the arguments apart, too.
void wicketRecordLogEntry(os_log_t log, os_log_type_t type, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
}

#define OS_LOG_DEFAULT (&_os_log_default)
#define os_log_with_type(log, type, ...)                                                      \
  do {                                                                                        \
    if (os_log_type_enabled((log), (type))) wicketRecordLogEntry((log), (type), __VA_ARGS__); \
  } while (false)
#define os_log_fault(log, ...) os_log_with_type((log), OS_LOG_TYPE_FAULT, __VA_ARGS__)
#define os_log_error(log, ...) os_log_with_type((log), OS_LOG_TYPE_ERROR, __VA_ARGS__)
#define os_log(log, ...) os_log_with_type((log), OS_LOG_TYPE_DEFAULT, __VA_ARGS__)
