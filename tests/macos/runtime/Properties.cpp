// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors

// What the compiler calls in the accessors that it writes for properties that are objects.
#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>

#include "tests/macos/runtime/Objects.h"
#include "tests/macos/runtime/Selectors.h"

using namespace wicket::objc;

extern "C" Object* objc_msgSend(Object* receiver, Selector selector, ...);

namespace {

Object** variable(Object* object, std::ptrdiff_t offset) {
  return reinterpret_cast<Object**>(reinterpret_cast<char*>(object) + offset);
}

/// One lock for all atomic properties that share a place in this table.
std::mutex& lockOf(const Object* const* place) {
  static auto& locks = *new std::array<std::mutex, 64>;
  return locks[(reinterpret_cast<std::uintptr_t>(place) >> 3) % locks.size()];
}

Object* copyOf(Object* value) { return objc_msgSend(value, uniqueSelector("copy")); }

/// Takes over the caller's reference to the value.
void exchange(Object* object, Object* value, std::ptrdiff_t offset, bool isAtomic) {
  Object** const place = variable(object, offset);
  Object* old = nullptr;
  {
    std::unique_lock lock(lockOf(place), std::defer_lock);
    if (isAtomic) lock.lock();
    old = *place;
    *place = value;
  }
  objc_release(old);
}

}  // namespace

extern "C" {

Object* objc_getProperty(Object* object, Selector /*name*/, std::ptrdiff_t offset, bool isAtomic) {
  Object** const place = variable(object, offset);
  if (!isAtomic) return *place;
  const std::scoped_lock lock(lockOf(place));
  return objc_autorelease(objc_retain(*place));
}

void objc_setProperty_atomic(Object* object, Selector /*name*/, Object* value, std::ptrdiff_t offset) {
  exchange(object, objc_retain(value), offset, true);
}
void objc_setProperty_nonatomic(Object* object, Selector /*name*/, Object* value, std::ptrdiff_t offset) {
  exchange(object, objc_retain(value), offset, false);
}
void objc_setProperty_atomic_copy(Object* object, Selector /*name*/, Object* value, std::ptrdiff_t offset) {
  exchange(object, copyOf(value), offset, true);
}
void objc_setProperty_nonatomic_copy(Object* object, Selector /*name*/, Object* value, std::ptrdiff_t offset) {
  exchange(object, copyOf(value), offset, false);
}
}
