// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <Foundation/NSValues.h>

#pragma clang assume_nonnull begin

typedef struct {
  unsigned long state;
  id __unsafe_unretained _Nullable* _Nullable itemsPtr;
  unsigned long* _Nullable mutationsPtr;
  unsigned long extra[5];
} NSFastEnumerationState;

@protocol NSFastEnumeration
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained _Nullable[_Nonnull])buffer
                                    count:(NSUInteger)length;
@end

@interface NSArray<__covariant Element> : NSObject <NSCopying, NSFastEnumeration>
@property(readonly) NSUInteger count;
- (Element)objectAtIndexedSubscript:(NSUInteger)index;
+ (instancetype)arrayWithObjects:(const Element __unsafe_unretained _Nonnull* _Nullable)objects count:(NSUInteger)count;
@end

@interface NSDictionary<__covariant Key, __covariant Value> : NSObject <NSCopying, NSFastEnumeration>
@property(readonly) NSUInteger count;
- (nullable Value)objectForKeyedSubscript:(Key)key;
+ (instancetype)dictionaryWithObjects:(const Value __unsafe_unretained _Nonnull* _Nullable)objects
                              forKeys:(const Key<NSCopying> __unsafe_unretained _Nonnull* _Nullable)keys
                                count:(NSUInteger)count;
@end

#pragma clang assume_nonnull end
