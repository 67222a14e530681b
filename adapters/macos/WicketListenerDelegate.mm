// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/macos/WicketListenerDelegate.h"

#include <utility>

#include "adapters/macos/XpcConnection.h"

using wicket::macos_adapter::ServedCalls;
using wicket::macos_adapter::XpcConnection;

@implementation WicketListenerDelegate {
  wicket::ListenerDelegate* _delegate;
  std::shared_ptr<ServedCalls> _calls;
}

- (instancetype)initWithDelegate:(wicket::ListenerDelegate&)delegate
                           calls:(std::shared_ptr<wicket::macos_adapter::ServedCalls>)calls {
  self = [super init];
  if (self != nil) {
    _delegate = &delegate;
    _calls = std::move(calls);
  }
  return self;
}

// Nothing thrown reaches XPC: a client that cannot be looked at is refused.
- (BOOL)listener:(NSXPCListener*)listener shouldAcceptNewConnection:(NSXPCConnection*)connection {
  try {
    if (!_delegate->shouldAcceptNewConnection(std::make_shared<XpcConnection>(connection, _calls))) return NO;
    _calls->clientWasAccepted();
    return YES;
  } catch (...) {
    return NO;
  }
}

@end
