// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <map>
#include <string>

#include "tests/macos/runtime/Metadata.h"

namespace wicket::objc {

/// A new object with one reference, its variables zero or constructed.
[[nodiscard]] Object* allocate(Class* c);
/// What the root class does at the end of -dealloc: clears weak references, destroys the variables of all classes
/// and frees the memory.
void destroy(Object* object);

/// One more reference, unless the object is already being destroyed. For weak references.
[[nodiscard]] bool retainUnlessDestroyed(Object* object);

/// How many objects of each class exist; classes without any are left out.
[[nodiscard]] std::map<std::string, long> liveObjects();

}  // namespace wicket::objc

extern "C" {
wicket::objc::Object* objc_retain(wicket::objc::Object* object);
void objc_release(wicket::objc::Object* object);
wicket::objc::Object* objc_autorelease(wicket::objc::Object* object);
}
