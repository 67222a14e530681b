// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#import <Foundation/Foundation.h>
#include <memory>

#include "adapters/macos/HelperProtocol.h"
#include "adapters/macos/ServedCalls.h"
#include "protocol/HelperProtocol.h"

/// What one connection exports: turns each message into a call of the helper's object and its completions into
/// answers. A message that cannot be understood (an element of the arguments that is not a string, a string that is
/// not Unicode) is not passed on, and its connection is invalidated, which the client is told as an error of its
/// call.
@interface WicketExportedObject : NSObject <HelperProtocol>
- (instancetype)initWithObject:(std::shared_ptr<wicket::HelperProtocol>)object
                    connection:(NSXPCConnection*)connection
                         calls:(std::shared_ptr<wicket::macos_adapter::ServedCalls>)calls;
@end
