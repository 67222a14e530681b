// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/macos/MainBundle.h"

#import <Foundation/Foundation.h>

#include "adapters/macos/Text.h"

namespace wicket::macos_adapter {

std::optional<std::string> MainBundle::stringValue(std::string_view key) {
  @autoreleasepool {
    NSString* name = foundationText(key);
    if (name == nil) return std::nullopt;
    id value = [[NSBundle mainBundle] objectForInfoDictionaryKey:name];
    if (![value isKindOfClass:[NSString class]]) return std::nullopt;
    return utf8Text(value);
  }
}

}  // namespace wicket::macos_adapter
