// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <objc/objc.h>

typedef long NSInteger;
typedef unsigned long NSUInteger;
typedef struct NSZoneOfNobody NSZone;

@class Protocol;

@protocol NSObject
- (BOOL)isEqual:(id)other;
@property(readonly) NSUInteger hash;
- (Class)class;
- (instancetype)self;
- (BOOL)isKindOfClass:(Class)c;
- (BOOL)conformsToProtocol:(Protocol*)protocol;
- (BOOL)respondsToSelector:(SEL)selector;
#if !__has_feature(objc_arc)
- (instancetype)retain;
- (oneway void)release;
- (instancetype)autorelease;
#endif
@end

__attribute__((objc_root_class))
@interface NSObject<NSObject> {
  Class isa;
}
+ (instancetype)alloc;
+ (instancetype)new;
- (instancetype)init;
- (void)dealloc;
+ (Class)class;
+ (BOOL)conformsToProtocol:(Protocol*)protocol;
- (id)copy;
@end
