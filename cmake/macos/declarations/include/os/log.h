// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <os/object.h>
#include <stdbool.h>
#include <stdint.h>

// The few documented declarations that the helper uses, for machines without Apple's SDK.

extern "C" {

OS_OBJECT_DECL(os_log);
typedef uint8_t os_log_type_t;
enum : os_log_type_t { OS_LOG_TYPE_FAULT = 0x11 };

extern struct os_log_s _os_log_default;
extern struct mach_header __dso_handle;

bool os_log_type_enabled(os_log_t log, os_log_type_t type);
void _os_log_fault_impl(void* dso, os_log_t log, os_log_type_t type, const char* format, uint8_t* buffer,
                        uint32_t size);

}  // extern "C"

#define OS_LOG_DEFAULT OS_OBJECT_GLOBAL_OBJECT(os_log_t, _os_log_default)

// The compiler lays the arguments out; the reader of the log finds the format in the section named here.
#define os_log_fault(log, format, ...)                                                                        \
  __extension__({                                                                                             \
    os_log_t wicketLog = (log);                                                                               \
    if (os_log_type_enabled(wicketLog, OS_LOG_TYPE_FAULT)) {                                                  \
      __attribute__((section("__TEXT,__oslogstring,cstring_literals"),                                        \
                     internal_linkage)) static const char wicketFormat[] = format;                            \
      alignas(16) uint8_t wicketBuffer[__builtin_os_log_format_buffer_size(format, ##__VA_ARGS__)];           \
      _os_log_fault_impl(&__dso_handle, wicketLog, OS_LOG_TYPE_FAULT, wicketFormat,                           \
                         static_cast<uint8_t*>(__builtin_os_log_format(wicketBuffer, format, ##__VA_ARGS__)), \
                         static_cast<uint32_t>(sizeof(wicketBuffer)));                                        \
    }                                                                                                         \
  })
