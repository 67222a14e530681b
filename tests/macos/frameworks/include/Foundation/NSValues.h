// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <objc/NSObject.h>

#pragma clang assume_nonnull begin

@class NSData;

typedef NSUInteger NSStringEncoding;
enum : NSStringEncoding { NSUTF8StringEncoding = 4 };

@protocol NSCopying
- (id)copyWithZone:(nullable NSZone*)zone;
@end

@interface NSString : NSObject <NSCopying>
@property(nullable, readonly) const char* UTF8String __attribute__((objc_returns_inner_pointer));
- (nullable instancetype)initWithBytes:(const void*)bytes length:(NSUInteger)length encoding:(NSStringEncoding)encoding;
+ (nullable instancetype)stringWithUTF8String:(const char*)text;
- (nullable NSData*)dataUsingEncoding:(NSStringEncoding)encoding;
- (BOOL)isEqualToString:(NSString*)other;
@end

/// The class of literals.
@interface NSConstantString : NSString
@end

extern "C" NSString* NSStringFromSelector(SEL selector);

@interface NSData : NSObject <NSCopying>
@property(readonly) NSUInteger length;
@property(readonly) const void* bytes __attribute__((objc_returns_inner_pointer));
+ (instancetype)dataWithBytes:(nullable const void*)bytes length:(NSUInteger)length;
@end

@interface NSNumber : NSObject <NSCopying>
@property(readonly) const char* objCType __attribute__((objc_returns_inner_pointer));
@property(readonly) long long longLongValue;
@property(readonly) unsigned int unsignedIntValue;
@property(readonly) double doubleValue;
@property(readonly) BOOL boolValue;
+ (NSNumber*)numberWithBool:(BOOL)value;
+ (NSNumber*)numberWithInt:(int)value;
+ (NSNumber*)numberWithUnsignedInt:(unsigned int)value;
+ (NSNumber*)numberWithLong:(long)value;
+ (NSNumber*)numberWithLongLong:(long long)value;
+ (NSNumber*)numberWithDouble:(double)value;
@end

#pragma clang assume_nonnull end
