// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#import <Foundation/Foundation.h>
#include <bsm/audit.h>
#include <functional>

// The side of XPC that a program does not see: what the system and the client do.

@interface NSXPCListener (Wicket)
/// The one that was made last and still lives.
+ (NSXPCListener*)wicketNewest;
/// A client connects: asks the delegate on the listener's queue and returns what it says.
- (BOOL)wicketOffer:(NSXPCConnection*)connection;
@end

@interface NSXPCConnection (Wicket)
/// A connection of a client that exports @p object.
+ (NSXPCConnection*)wicketConnectionWithClient:(id)object token:(audit_token_t)token;
/// A message: @p call runs on the connection's queue with the exported object. Dropped after an invalidation.
- (void)wicketDeliver:(std::function<void(id exported)>)call;
/// The client has gone. Same as an invalidation from this side.
- (void)wicketClose;
@property(readonly) BOOL wicketIsInvalid;
@property(readonly) BOOL wicketIsResumed;
/// NO: what the proxy says that it conforms to has nothing to do with the interface.
@property BOOL wicketProxyConforms;
/// NO: nothing leaves the process, so no barrier runs.
@property BOOL wicketClientReads;
@end
