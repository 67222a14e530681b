// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#import <Foundation/Foundation.h>
#import <Security/Security.h>

namespace wicket::frameworks {

/// What Code Signing Services answer at each step. Set while no other thread asks. The recording has the calls.
struct CodeSigning {
  OSStatus guestStatus = 0;
  bool hasGuest = true;
  OSStatus staticCodeStatus = 0;
  bool hasStaticCode = true;
  OSStatus informationStatus = 0;
  /// Nil: none, in spite of the status.
  NSDictionary<NSString*, id>* information = nil;
  OSStatus requirementStatus = 0;
  bool hasRequirement = true;
  OSStatus validityStatus = 0;

  /// The answers about a companion that is as it should be.
  [[nodiscard]] static CodeSigning genuine();
  /// What is answered from now on.
  static void answer(CodeSigning answers);
};

}  // namespace wicket::frameworks
