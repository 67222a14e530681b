// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#import <Foundation/Foundation.h>
#include <cmath>
#include <string>

#include "tests/macos/frameworks/Recording.h"
#include "tests/macos/frameworks/VirtualTime.h"

using wicket::frameworks::Recording;
using wicket::frameworks::VirtualTime;

@interface NSDate ()
@property VirtualTime::Nanoseconds wicketTime;
@end
@implementation NSDate
+ (instancetype)dateWithTimeIntervalSinceNow:(NSTimeInterval)seconds {
  NSDate* date = [[self alloc] init];
  date.wicketTime = VirtualTime::now() + static_cast<VirtualTime::Nanoseconds>(std::llround(seconds * NSEC_PER_SEC));
  return date;
}
@end

@implementation NSRunLoop
// There is no other thread that runs one.
+ (NSRunLoop*)currentRunLoop {
  static NSRunLoop* const main = [[NSRunLoop alloc] init];
  return main;
}
- (void)runUntilDate:(NSDate*)date {
  const auto duration = date.wicketTime - VirtualTime::now();
  Recording::add("run loop for " + std::to_string(duration / NSEC_PER_SEC) + " s");
  VirtualTime::runUntil(date.wicketTime);
}
@end
