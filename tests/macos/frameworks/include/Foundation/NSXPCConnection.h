// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <Foundation/NSValues.h>
#include <sys/types.h>

#pragma clang assume_nonnull begin

// On macOS the properties are atomic. Here the thread sanitizer may see who changes them without telling others.

@class NSXPCListener, NSXPCConnection;

@interface NSXPCInterface : NSObject
@property(assign) Protocol* protocol;
+ (NSXPCInterface*)interfaceWithProtocol:(Protocol*)protocol;
@end

@protocol NSXPCListenerDelegate <NSObject>
@optional
- (BOOL)listener:(NSXPCListener*)listener shouldAcceptNewConnection:(NSXPCConnection*)connection;
@end

@interface NSXPCListener : NSObject
- (instancetype)initWithMachServiceName:(NSString*)name;
@property(nonatomic, nullable, weak) id<NSXPCListenerDelegate> delegate;
- (void)resume;
- (void)suspend;
- (void)invalidate;
@end

@interface NSXPCConnection : NSObject
@property(nonatomic, nullable, retain) NSXPCInterface* exportedInterface;
@property(nonatomic, nullable, retain) id exportedObject;
@property(nonatomic, nullable, retain) NSXPCInterface* remoteObjectInterface;
@property(readonly, retain) id remoteObjectProxy;
@property(readonly) uid_t effectiveUserIdentifier;
@property(readonly) gid_t effectiveGroupIdentifier;
@property(nonatomic, nullable, copy) void (^interruptionHandler)(void);
@property(nonatomic, nullable, copy) void (^invalidationHandler)(void);
- (void)resume;
- (void)suspend;
- (void)invalidate;
- (void)scheduleSendBarrierBlock:(void (^)(void))block;
@end

#pragma clang assume_nonnull end
