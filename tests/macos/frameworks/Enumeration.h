// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#import <Foundation/Foundation.h>

namespace wicket::frameworks {

/// One step of a for-in loop over @p count objects: at() gives each one. The collections here never change.
template <class At>
NSUInteger enumerate(NSFastEnumerationState* state, id __unsafe_unretained* buffer, NSUInteger length, NSUInteger count,
                     const At& at) {
  static unsigned long neverChanges = 0;
  state->mutationsPtr = &neverChanges;
  state->itemsPtr = buffer;
  NSUInteger given = 0;
  while (given < length && state->state < count) buffer[given++] = at(state->state++);
  return given;
}

}  // namespace wicket::frameworks
