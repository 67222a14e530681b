// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include "tests/macos/runtime/Metadata.h"

namespace wicket::objc {

/// Sets every weak reference to the object to nil; it is about to be freed.
void clearWeakReferences(Object* object);

}  // namespace wicket::objc
