// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#import <Foundation/Foundation.h>
#include <memory>

#include "adapters/macos/ServedCalls.h"
#include "helper/platform/Listener.h"

/// Hands each new connection to the helper's own delegate.
@interface WicketListenerDelegate : NSObject <NSXPCListenerDelegate>
/// @p delegate must outlive the listener.
- (instancetype)initWithDelegate:(wicket::ListenerDelegate&)delegate
                           calls:(std::shared_ptr<wicket::macos_adapter::ServedCalls>)calls;
@end
