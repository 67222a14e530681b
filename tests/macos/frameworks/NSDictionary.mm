// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#import <Foundation/Foundation.h>
#include <utility>
#include <vector>

#include "tests/macos/frameworks/Enumeration.h"

@implementation NSDictionary {
  std::vector<std::pair<id, id>> _entries;
}
+ (instancetype)dictionaryWithObjects:(const id __unsafe_unretained*)objects
                              forKeys:(const id<NSCopying> __unsafe_unretained*)keys
                                count:(NSUInteger)count {
  NSDictionary* dictionary = [[self alloc] init];
  for (NSUInteger i = 0; i < count; ++i) dictionary->_entries.emplace_back([keys[i] copyWithZone:nullptr], objects[i]);
  return dictionary;
}
- (NSUInteger)count {
  return _entries.size();
}
- (id)objectForKeyedSubscript:(id)key {
  for (const auto& [known, object] : _entries) {
    if ([known isEqual:key]) return object;
  }
  return nil;
}
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained*)buffer
                                    count:(NSUInteger)length {
  return wicket::frameworks::enumerate(state, buffer, length, _entries.size(),
                                       [&](NSUInteger index) { return _entries[index].first; });
}
- (id)copyWithZone:(NSZone*)__unused zone {
  return self;
}
@end

// What the compiler takes for an empty literal.
extern "C" {
id __NSDictionary0__ = [[NSDictionary alloc] init];
}
