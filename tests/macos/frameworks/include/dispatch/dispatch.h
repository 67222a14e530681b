// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <objc/NSObject.h>
#include <stdint.h>

@protocol OS_dispatch_source <NSObject>
@end
@protocol OS_dispatch_queue <NSObject>
@end
typedef NSObject<OS_dispatch_source>* dispatch_source_t;
typedef NSObject<OS_dispatch_queue>* dispatch_queue_t;
typedef struct WicketDispatchSourceType {
  const char* name;
} const* dispatch_source_type_t;
typedef uint64_t dispatch_time_t;
typedef void (^dispatch_block_t)(void);

#define NSEC_PER_SEC 1000000000ull
#define DISPATCH_TIME_NOW (0ull)
#define DISPATCH_TIME_FOREVER (~0ull)
#define dispatch_get_main_queue() wicketMainQueue
#define DISPATCH_SOURCE_TYPE_TIMER (&wicketDispatchTimer)

extern "C" {
extern const struct WicketDispatchSourceType wicketDispatchTimer;
extern const dispatch_queue_t wicketMainQueue;

dispatch_time_t dispatch_time(dispatch_time_t when, int64_t nanoseconds);
dispatch_source_t dispatch_source_create(dispatch_source_type_t type, uintptr_t handle, uintptr_t mask,
                                         dispatch_queue_t queue) __attribute__((ns_returns_retained));
void dispatch_source_set_timer(dispatch_source_t source, dispatch_time_t start, uint64_t interval, uint64_t leeway);
void dispatch_source_set_event_handler(dispatch_source_t source, dispatch_block_t handler);
void dispatch_source_cancel(dispatch_source_t source);
void dispatch_resume(dispatch_source_t source);
}
