// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <dispatch/dispatch.h>
#include <mach/message.h>
#include <objc/NSObject.h>
#include <objc/objc.h>
#include <os/availability.h>

// The few documented declarations that the helper uses, for machines without Apple's SDK.

#pragma clang assume_nonnull begin

typedef double NSTimeInterval;
typedef NSUInteger NSStringEncoding;
enum : NSStringEncoding { NSUTF8StringEncoding = 4 };
typedef struct _NSZone NSZone;

typedef struct {
  unsigned long state;
  id __unsafe_unretained _Nullable* _Nullable itemsPtr;
  unsigned long* _Nullable mutationsPtr;
  unsigned long extra[5];
} NSFastEnumerationState;

@protocol NSCopying
- (id)copyWithZone:(nullable NSZone*)zone;
@end

@protocol NSFastEnumeration
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained _Nullable[_Nonnull])buffer
                                    count:(NSUInteger)length;
@end

@interface NSData : NSObject <NSCopying>
@property(readonly) NSUInteger length;
@property(readonly) const void* bytes __attribute__((objc_returns_inner_pointer));
+ (instancetype)dataWithBytes:(nullable const void*)bytes length:(NSUInteger)length;
@end

@interface NSString : NSObject <NSCopying>
- (nullable instancetype)initWithBytes:(const void*)bytes length:(NSUInteger)length encoding:(NSStringEncoding)encoding;
- (nullable NSData*)dataUsingEncoding:(NSStringEncoding)encoding;
@end

/// Not documented, but what the compiler makes @"text" from.
@interface NSConstantString : NSString
@end

@interface NSNumber : NSObject
@property(readonly) const char* objCType __attribute__((objc_returns_inner_pointer));
@property(readonly) long long longLongValue;
@property(readonly) double doubleValue;
@end

@interface NSArray<__covariant Object> : NSObject <NSCopying, NSFastEnumeration>
@end

@interface NSDictionary<__covariant Key, __covariant Object> : NSObject <NSCopying, NSFastEnumeration>
- (nullable Object)objectForKeyedSubscript:(Key)key;
+ (instancetype)dictionaryWithObjects:(const Object _Nonnull[_Nullable])objects
                              forKeys:(const Key<NSCopying> _Nonnull[_Nullable])keys
                                count:(NSUInteger)count;
@end

@interface NSDate : NSObject
+ (instancetype)dateWithTimeIntervalSinceNow:(NSTimeInterval)seconds;
@end

@interface NSRunLoop : NSObject
@property(class, readonly, strong) NSRunLoop* currentRunLoop;
- (void)runUntilDate:(NSDate*)limitDate;
@end

@interface NSBundle : NSObject
@property(class, readonly, strong) NSBundle* mainBundle;
- (nullable id)objectForInfoDictionaryKey:(NSString*)key;
@end

@interface NSXPCInterface : NSObject
+ (NSXPCInterface*)interfaceWithProtocol:(Protocol*)protocol;
@end

@interface NSXPCConnection : NSObject
@property(nullable, retain) NSXPCInterface* exportedInterface;
@property(nullable, retain) id exportedObject;
@property(nullable, retain) NSXPCInterface* remoteObjectInterface;
@property(readonly, retain) id remoteObjectProxy;
@property(readonly) uid_t effectiveUserIdentifier;
@property(readonly) gid_t effectiveGroupIdentifier;
@property(nullable, copy) void (^invalidationHandler)(void);
- (void)scheduleSendBarrierBlock:(void (^)(void))block API_AVAILABLE(macos(10.15));
- (void)resume;
- (void)invalidate;
@end

@class NSXPCListener;

@protocol NSXPCListenerDelegate <NSObject>
@optional
- (BOOL)listener:(NSXPCListener*)listener shouldAcceptNewConnection:(NSXPCConnection*)newConnection;
@end

@interface NSXPCListener : NSObject
- (instancetype)initWithMachServiceName:(NSString*)name;
@property(nullable, weak) id<NSXPCListenerDelegate> delegate;
- (void)resume;
- (void)suspend;
@end

#pragma clang assume_nonnull end
