// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#import <Foundation/Foundation.h>

#include "tests/macos/frameworks/MainBundle.h"

namespace {

NSDictionary<NSString*, id>* informationDictionary = nil;

}  // namespace

@implementation NSBundle
+ (NSBundle*)mainBundle {
  static NSBundle* const bundle = [[NSBundle alloc] init];
  return bundle;
}
- (id)objectForInfoDictionaryKey:(NSString*)key {
  return informationDictionary[key];
}
@end

namespace wicket::frameworks {

void setInformationDictionary(NSDictionary<NSString*, id>* information) { informationDictionary = information; }

}  // namespace wicket::frameworks
