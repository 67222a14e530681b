// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors

// The classes that the language itself needs. Compiled without ARC: this is what ARC builds on.
#import <Foundation/Foundation.h>

#include "tests/macos/runtime/Blocks.h"
#include "tests/macos/runtime/Classes.h"
#include "tests/macos/runtime/Objects.h"

namespace objc = wicket::objc;

namespace {

objc::Object* objectOf(id object) { return reinterpret_cast<objc::Object*>(object); }
const objc::Class* classOf(Class c) { return reinterpret_cast<const objc::Class*>(c); }
const objc::Protocol* protocolOf(Protocol* protocol) { return reinterpret_cast<const objc::Protocol*>(protocol); }

}  // namespace

@implementation NSObject
+ (instancetype)alloc {
  return reinterpret_cast<id>(objc::allocate(reinterpret_cast<objc::Class*>(self)));
}
+ (instancetype)new {
  return [[self alloc] init];
}
- (instancetype)init {
  return self;
}
- (void)dealloc {
  objc::destroy(objectOf(self));
}
- (instancetype)retain {
  return reinterpret_cast<id>(objc_retain(objectOf(self)));
}
- (oneway void)release {
  objc_release(objectOf(self));
}
- (instancetype)autorelease {
  return reinterpret_cast<id>(objc_autorelease(objectOf(self)));
}
+ (Class)class {
  return reinterpret_cast<Class>(self);
}
- (Class)class {
  return object_getClass(self);
}
- (instancetype)self {
  return self;
}
- (NSUInteger)hash {
  return reinterpret_cast<NSUInteger>(self);
}
- (BOOL)isEqual:(id)other {
  return self == other ? YES : NO;
}
- (BOOL)isKindOfClass:(Class)c {
  return objc::isKindOf(classOf(object_getClass(self)), classOf(c)) ? YES : NO;
}
+ (BOOL)conformsToProtocol:(Protocol*)protocol {
  return objc::conformsTo(classOf(reinterpret_cast<Class>(self)), protocolOf(protocol)) ? YES : NO;
}
- (BOOL)conformsToProtocol:(Protocol*)protocol {
  return objc::conformsTo(classOf(object_getClass(self)), protocolOf(protocol)) ? YES : NO;
}
- (BOOL)respondsToSelector:(SEL)selector {
  return objc::findMethod(classOf(object_getClass(self)), reinterpret_cast<objc::Selector>(selector)) != nullptr ? YES
                                                                                                                 : NO;
}
- (id)copy {
  const id<NSCopying> copied = static_cast<id>(self);
  return [copied copyWithZone:nullptr];
}
@end

/// The class of what @protocol names.
@interface Protocol : NSObject
@end
@implementation Protocol
@end

@interface NSBlock : NSObject
@end
@implementation NSBlock
- (id)copy {
  return reinterpret_cast<id>(_Block_copy(self));
}
@end

// Where a block lives is what its class says. The compiler refers to these by names of their own.
@interface NSStackBlock : NSBlock
@end
@implementation NSStackBlock
@end
@interface NSMallocBlock : NSBlock
@end
@implementation NSMallocBlock
@end
@interface NSGlobalBlock : NSBlock
@end
@implementation NSGlobalBlock
@end
__asm__(R"(
.globl _NSConcreteStackBlock
.set _NSConcreteStackBlock, "OBJC_CLASS_$_NSStackBlock"
.globl _NSConcreteMallocBlock
.set _NSConcreteMallocBlock, "OBJC_CLASS_$_NSMallocBlock"
.globl _NSConcreteGlobalBlock
.set _NSConcreteGlobalBlock, "OBJC_CLASS_$_NSGlobalBlock"
)");
