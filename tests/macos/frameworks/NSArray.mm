// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#import <Foundation/Foundation.h>
#include <vector>

#include "tests/macos/frameworks/Enumeration.h"

@implementation NSArray {
  std::vector<id> _objects;
}
+ (instancetype)arrayWithObjects:(const id __unsafe_unretained*)objects count:(NSUInteger)count {
  NSArray* array = [[self alloc] init];
  array->_objects.assign(objects, objects + count);
  return array;
}
- (NSUInteger)count {
  return _objects.size();
}
- (id)objectAtIndexedSubscript:(NSUInteger)index {
  return _objects.at(index);
}
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained*)buffer
                                    count:(NSUInteger)length {
  return wicket::frameworks::enumerate(state, buffer, length, _objects.size(),
                                       [&](NSUInteger index) { return _objects[index]; });
}
- (id)copyWithZone:(NSZone*)__unused zone {
  return self;
}
@end

// What the compiler takes for an empty literal.
extern "C" {
id __NSArray0__ = [[NSArray alloc] init];
}
