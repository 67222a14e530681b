// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#import <Security/Security.h>
#include <functional>

namespace wicket::frameworks {

/// What Authorization Services answer. Set while no other thread asks. The recording has the calls.
struct Authorization {
  OSStatus createStatus = 0;
  bool hasReference = true;
  OSStatus copyRightsStatus = 0;
  /// Whether there is a text for a status at all.
  bool hasTexts = true;
  /// Happens while the user is asked.
  std::function<void()> dialog = [] {};

  /// What is answered from now on.
  static void answer(Authorization answers);
};

}  // namespace wicket::frameworks
