// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#import <Foundation/Foundation.h>
#include <vector>

@implementation NSData {
  std::vector<unsigned char> _bytes;
}
+ (instancetype)dataWithBytes:(const void*)bytes length:(NSUInteger)length {
  NSData* data = [[self alloc] init];
  const auto* const first = static_cast<const unsigned char*>(bytes);
  data->_bytes.assign(first, first + length);
  return data;
}
- (NSUInteger)length {
  return _bytes.size();
}
- (const void*)bytes {
  return _bytes.data();
}
- (id)copyWithZone:(NSZone*)__unused zone {
  return self;
}
@end
