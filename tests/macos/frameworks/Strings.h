// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#import <Foundation/Foundation.h>
#include <string_view>

@interface NSString (Wicket)
/// Valid as long as the string.
@property(readonly) std::string_view wicketText;
/// One that no encoding can express: with half of a surrogate pair in it.
+ (NSString*)wicketStringWithHalfACharacter;
@end
