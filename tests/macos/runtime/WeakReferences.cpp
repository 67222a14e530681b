// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/macos/runtime/WeakReferences.h"

#include <mutex>
#include <set>
#include <unordered_map>

#include "tests/macos/runtime/Objects.h"

namespace wicket::objc {
namespace {

/// All places in memory that refer weakly to something. A place is read and written under the lock alone, so an
/// object cannot be freed between the look at the place and the retaining.
struct Table {
  std::mutex mutex;
  std::unordered_map<Object*, std::set<Object**>> places;
};

Table& table() {
  static auto& result = *new Table;
  return result;
}

void forget(Table& weak, Object** place) {
  const auto found = weak.places.find(*place);
  if (found == weak.places.end()) return;
  found->second.erase(place);
  if (found->second.empty()) weak.places.erase(found);
}

void set(Table& weak, Object** place, Object* object) {
  *place = object;
  if (object != nullptr) weak.places[object].insert(place);
}

}  // namespace

void clearWeakReferences(Object* object) {
  Table& weak = table();
  const std::scoped_lock lock(weak.mutex);
  const auto found = weak.places.find(object);
  if (found == weak.places.end()) return;
  for (Object** place : found->second) *place = nullptr;
  weak.places.erase(found);
}

}  // namespace wicket::objc

using namespace wicket::objc;

extern "C" {

Object* objc_initWeak(Object** place, Object* object) {
  Table& weak = table();
  const std::scoped_lock lock(weak.mutex);
  set(weak, place, object);
  return object;
}

Object* objc_storeWeak(Object** place, Object* object) {
  Table& weak = table();
  const std::scoped_lock lock(weak.mutex);
  forget(weak, place);
  set(weak, place, object);
  return object;
}

void objc_destroyWeak(Object** place) { objc_storeWeak(place, nullptr); }

Object* objc_loadWeakRetained(Object** place) {
  Table& weak = table();
  const std::scoped_lock lock(weak.mutex);
  return *place != nullptr && retainUnlessDestroyed(*place) ? *place : nullptr;
}

Object* objc_loadWeak(Object** place) { return objc_autorelease(objc_loadWeakRetained(place)); }

void objc_copyWeak(Object** to, Object** from) {
  Object* const object = objc_loadWeakRetained(from);
  objc_initWeak(to, object);
  objc_release(object);
}

void objc_moveWeak(Object** to, Object** from) {
  objc_copyWeak(to, from);
  objc_destroyWeak(from);
}
}
