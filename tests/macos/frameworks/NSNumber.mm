// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#import <Foundation/Foundation.h>
#include <variant>

namespace {

using Value = std::variant<BOOL, int, long long, double>;

}  // namespace

@implementation NSNumber {
  Value _value;
}
+ (NSNumber*)wicketNumberWithValue:(Value)value {
  NSNumber* number = [[NSNumber alloc] init];
  number->_value = value;
  return number;
}
+ (NSNumber*)numberWithBool:(BOOL)value {
  return [self wicketNumberWithValue:value];
}
+ (NSNumber*)numberWithInt:(int)value {
  return [self wicketNumberWithValue:value];
}
// Too large for an int, perhaps, so kept in more.
+ (NSNumber*)numberWithUnsignedInt:(unsigned int)value {
  return [self wicketNumberWithValue:static_cast<long long>(value)];
}
+ (NSNumber*)numberWithLong:(long)value {
  return [self wicketNumberWithValue:static_cast<long long>(value)];
}
+ (NSNumber*)numberWithLongLong:(long long)value {
  return [self wicketNumberWithValue:value];
}
+ (NSNumber*)numberWithDouble:(double)value {
  return [self wicketNumberWithValue:value];
}
// The letters of the types above.
- (const char*)objCType {
  constexpr const char* names[] = {"c", "i", "q", "d"};
  return names[_value.index()];
}
- (long long)longLongValue {
  return std::visit([](auto value) { return static_cast<long long>(value); }, _value);
}
- (unsigned int)unsignedIntValue {
  return static_cast<unsigned int>(self.longLongValue);
}
- (double)doubleValue {
  return std::visit([](auto value) { return static_cast<double>(value); }, _value);
}
- (BOOL)boolValue {
  return self.doubleValue != 0 ? YES : NO;
}
- (id)copyWithZone:(NSZone*)__unused zone {
  return self;
}
@end
