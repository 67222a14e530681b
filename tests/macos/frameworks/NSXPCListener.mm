// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#import <Foundation/Foundation.h>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/macos/frameworks/Recording.h"
#include "tests/macos/frameworks/SerialQueue.h"
#include "tests/macos/frameworks/Strings.h"
#include "tests/macos/frameworks/Xpc.h"

using wicket::frameworks::Recording;

@implementation NSXPCInterface
+ (NSXPCInterface*)interfaceWithProtocol:(Protocol*)protocol {
  NSXPCInterface* interface = [[NSXPCInterface alloc] init];
  interface.protocol = protocol;
  return interface;
}
@end

namespace {

__weak NSXPCListener* newest = nil;

}  // namespace

@implementation NSXPCListener {
  wicket::frameworks::SerialQueue _queue;
  std::atomic<bool> _isResumed;
}
@synthesize delegate = _delegate;

+ (NSXPCListener*)wicketNewest {
  return newest;
}
- (instancetype)initWithMachServiceName:(NSString*)name {
  Recording::add("listener for " + std::string(name.wicketText));
  newest = self;
  return self;
}
- (void)setDelegate:(id<NSXPCListenerDelegate>)delegate {
  Recording::add("listener.delegate");
  _delegate = delegate;
}
- (void)resume {
  Recording::add("listener resumed");
  _isResumed = true;
}
- (void)suspend {
  Recording::add("listener suspended");
  _isResumed = false;
}
- (void)invalidate {
  Recording::add("listener invalidated");
  _isResumed = false;
}

- (BOOL)wicketOffer:(NSXPCConnection*)connection {
  if (!_isResumed) {
    std::fputs("a client cannot connect to a listener that is suspended\n", stderr);
    std::abort();
  }
  BOOL isAccepted = NO;
  _queue.runNow([&] {
    id<NSXPCListenerDelegate> delegate = self.delegate;
    isAccepted = [delegate listener:self shouldAcceptNewConnection:connection];
  });
  if (!isAccepted) [connection wicketClose];
  return isAccepted;
}
@end
