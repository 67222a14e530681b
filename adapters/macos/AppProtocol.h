// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#import <Foundation/Foundation.h>

/// What the companion exports. The Objective-C face of wicket::AppProtocol, for XPC to read its selectors and types
/// from.
@protocol AppProtocol
- (void)logWithStdOut:(NSString*)text;
@end
