// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors

// Timers on the main queue, and the time they go by.
#import <Foundation/Foundation.h>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/macos/frameworks/Recording.h"
#include "tests/macos/frameworks/SerialQueue.h"
#include "tests/macos/frameworks/VirtualTime.h"

using wicket::frameworks::Recording;
using wicket::frameworks::SerialQueue;
using wicket::frameworks::VirtualTime;

@interface WicketMainQueue : NSObject <OS_dispatch_queue>
@end
@implementation WicketMainQueue
@end

@interface WicketTimerSource : NSObject <OS_dispatch_source>
@property VirtualTime::Nanoseconds deadline;
@property uint64_t interval;
@property(copy) dispatch_block_t handler;
@property BOOL isResumed;
@property BOOL isCancelled;
@end
@implementation WicketTimerSource
- (void)dealloc {
  if (_isResumed) return;
  std::fputs("a dispatch source was released before it was resumed, which ends the process on macOS\n", stderr);
  std::abort();
}
@end

namespace {

constexpr VirtualTime::Nanoseconds beginning = 1'000 * NSEC_PER_SEC;

struct Schedule {
  std::mutex mutex;
  VirtualTime::Nanoseconds now = beginning;
  // A source whose last owner lets go of it ends and fires no more, so it is not held here.
  std::vector<__weak WicketTimerSource*> sources;
  std::multimap<VirtualTime::Nanoseconds, std::function<void()>> actions;
};

Schedule& schedule() {
  static auto& result = *new Schedule;
  return result;
}

bool isArmed(WicketTimerSource* source) {
  return source != nil && source.isResumed && !source.isCancelled && source.deadline != DISPATCH_TIME_FOREVER;
}

/// The one that is due first of those that are due by @p limit.
WicketTimerSource* nextSource(Schedule& all, VirtualTime::Nanoseconds limit) {
  WicketTimerSource* next = nil;
  for (const auto& known : all.sources) {
    WicketTimerSource* source = known;
    if (!isArmed(source) || source.deadline > limit) continue;
    if (next == nil || source.deadline < next.deadline) next = source;
  }
  return next;
}

std::function<void()> firing(WicketTimerSource* source) {
  source.deadline =
      source.interval == DISPATCH_TIME_FOREVER ? DISPATCH_TIME_FOREVER : source.deadline + source.interval;
  return [source] {
    dispatch_block_t handler = source.handler;
    Recording::add("timer fires");
    if (handler != nil) handler();
  };
}

/// What is next by @p limit. Time then is as late as that. What comes from outside comes before the timers of its
/// moment.
std::optional<std::function<void()>> takeNext(VirtualTime::Nanoseconds limit) {
  Schedule& all = schedule();
  const std::scoped_lock lock(all.mutex);
  WicketTimerSource* source = nextSource(all, limit);
  const auto action = all.actions.begin();
  const bool hasAction = action != all.actions.end() && action->first <= limit;
  if (hasAction && (source == nil || action->first <= source.deadline)) {
    all.now = std::max(all.now, action->first);
    auto result = std::move(action->second);
    all.actions.erase(action);
    return result;
  }
  if (source == nil) {
    all.now = std::max(all.now, limit);
    return std::nullopt;
  }
  all.now = std::max(all.now, source.deadline);
  return firing(source);
}

WicketTimerSource* sourceOf(id source) { return source; }

std::string secondsText(VirtualTime::Nanoseconds nanoseconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%g s", static_cast<double>(nanoseconds) / NSEC_PER_SEC);
  return text;
}

}  // namespace

namespace wicket::frameworks {

void VirtualTime::reset() {
  forgetActions();
  const std::scoped_lock lock(schedule().mutex);
  schedule().now = beginning;
  schedule().sources.clear();
}

VirtualTime::Nanoseconds VirtualTime::now() {
  const std::scoped_lock lock(schedule().mutex);
  return schedule().now;
}

std::chrono::nanoseconds VirtualTime::elapsed() { return std::chrono::nanoseconds(now() - beginning); }

void VirtualTime::at(std::chrono::nanoseconds elapsed, std::function<void()> action) {
  const std::scoped_lock lock(schedule().mutex);
  schedule().actions.emplace(beginning + static_cast<Nanoseconds>(elapsed.count()), std::move(action));
}

void VirtualTime::forgetActions() {
  std::multimap<Nanoseconds, std::function<void()>> dropped;
  const std::scoped_lock lock(schedule().mutex);
  dropped.swap(schedule().actions);
}

void VirtualTime::runUntil(Nanoseconds time) {
  while (true) {
    SerialQueue::waitUntilAllAreIdle();
    @autoreleasepool {
      const auto next = takeNext(time);
      if (!next) return;
      (*next)();
    }
  }
}

}  // namespace wicket::frameworks

extern "C" {

const WicketDispatchSourceType wicketDispatchTimer = {.name = "timer"};

const dispatch_queue_t wicketMainQueue = [[WicketMainQueue alloc] init];

dispatch_time_t dispatch_time(dispatch_time_t when, int64_t nanoseconds) {
  if (when == DISPATCH_TIME_FOREVER) return when;
  return (when == DISPATCH_TIME_NOW ? VirtualTime::now() : when) + static_cast<dispatch_time_t>(nanoseconds);
}

dispatch_source_t dispatch_source_create(dispatch_source_type_t type, uintptr_t handle, uintptr_t mask,
                                         dispatch_queue_t queue) {
  const bool isOnMain = queue == dispatch_get_main_queue();
  Recording::add(std::string("timer source ") + (isOnMain ? "on the main queue" : "on another queue") +
                 (type == DISPATCH_SOURCE_TYPE_TIMER && handle == 0 && mask == 0 ? "" : " with unusual arguments"));
  WicketTimerSource* source = [[WicketTimerSource alloc] init];
  source.deadline = DISPATCH_TIME_FOREVER;
  const std::scoped_lock lock(schedule().mutex);
  schedule().sources.push_back(source);
  return source;
}

void dispatch_source_set_timer(dispatch_source_t source, dispatch_time_t start, uint64_t interval, uint64_t leeway) {
  Recording::add("timer in " + secondsText(start - VirtualTime::now()) +
                 (interval == DISPATCH_TIME_FOREVER ? ", once" : ", every " + secondsText(interval)) + ", leeway " +
                 std::to_string(leeway));
  sourceOf(source).deadline = start;
  sourceOf(source).interval = interval;
}

void dispatch_source_set_event_handler(dispatch_source_t source, dispatch_block_t handler) {
  Recording::add("timer handler");
  sourceOf(source).handler = handler;
}

void dispatch_source_cancel(dispatch_source_t source) {
  Recording::add("timer cancelled");
  sourceOf(source).isCancelled = YES;
  sourceOf(source).handler = nil;
}

void dispatch_resume(dispatch_source_t source) {
  Recording::add("timer resumed");
  sourceOf(source).isResumed = YES;
}
}
