// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#import <Foundation/Foundation.h>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <string_view>

#include "base/text/Utf8.h"
#include "tests/macos/frameworks/Strings.h"

namespace {

/// What the compiler lays down for a literal.
struct Literal {
  const void* isa;
  int flags;
  const char* characters;
  long length;

  [[nodiscard]] std::string_view text() const {
    constexpr int bytes = 0x7c8;
    if (flags == bytes) return {characters, static_cast<std::size_t>(length)};
    std::fputs("a literal with characters beyond ASCII is not supported here\n", stderr);
    std::abort();
  }
};

}  // namespace

@implementation NSString {
  std::string _text;
  BOOL _hasHalfACharacter;
}
- (std::string_view)wicketText {
  return _text;
}
- (instancetype)initWithBytes:(const void*)bytes length:(NSUInteger)length encoding:(NSStringEncoding)encoding {
  const std::string_view text(static_cast<const char*>(bytes), length);
  if (encoding != NSUTF8StringEncoding || !wicket::Utf8::isValid(text)) return nil;
  _text = text;
  return self;
}
+ (instancetype)stringWithUTF8String:(const char*)text {
  return [[self alloc] initWithBytes:text length:std::string_view(text).size() encoding:NSUTF8StringEncoding];
}
+ (NSString*)wicketStringWithHalfACharacter {
  NSString* string = [[NSString alloc] init];
  string->_hasHalfACharacter = YES;
  return string;
}
- (const char*)UTF8String {
  return self.wicketText.data();
}
- (NSData*)dataUsingEncoding:(NSStringEncoding)encoding {
  if (encoding != NSUTF8StringEncoding || _hasHalfACharacter) return nil;
  return [NSData dataWithBytes:self.wicketText.data() length:self.wicketText.size()];
}
- (BOOL)isEqualToString:(NSString*)other {
  return self.wicketText == other.wicketText ? YES : NO;
}
- (BOOL)isEqual:(id)other {
  return [other isKindOfClass:[NSString class]] && [self isEqualToString:other] ? YES : NO;
}
- (NSUInteger)hash {
  return std::hash<std::string_view>()(self.wicketText);
}
- (id)copyWithZone:(NSZone*)__unused zone {
  return self;
}
@end

// A literal lies in the program, so it has none of the variables above.
@implementation NSConstantString
- (std::string_view)wicketText {
  return reinterpret_cast<const Literal*>((__bridge const void*)self)->text();
}
- (NSData*)dataUsingEncoding:(NSStringEncoding)__unused encoding {
  return [NSData dataWithBytes:self.wicketText.data() length:self.wicketText.size()];
}
@end
__asm__(R"(
.globl __CFConstantStringClassReference
.set __CFConstantStringClassReference, "OBJC_CLASS_$_NSConstantString"
)");

NSString* NSStringFromSelector(SEL selector) {
  return [NSString stringWithUTF8String:reinterpret_cast<const char*>(selector)];
}
