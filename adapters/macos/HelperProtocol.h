// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#import <Foundation/Foundation.h>

/// What the helper exports. The Objective-C face of wicket::HelperProtocol, for XPC to read its selectors and types
/// from. XPC may pass nil for any object.
@protocol HelperProtocol
- (void)getVersionWithCompletion:(void (^)(NSString* version))completion;
- (void)runCommandWithFilename:(NSString*)filename
                     arguments:(NSArray<NSString*>*)arguments
                    completion:(void (^)(int64_t code))completion;
- (void)installScriptAt:(NSString*)path authData:(NSData*)authData completion:(void (^)(int64_t code))completion;
- (void)uninstallWithAll:(BOOL)all;
- (void)uninstallScriptAt:(NSString*)path completion:(void (^)(int64_t code))completion;
- (void)uninstallScriptWithFilename:(NSString*)filename completion:(void (^)(int64_t code))completion;
@end
