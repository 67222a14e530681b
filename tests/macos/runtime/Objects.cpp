// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/macos/runtime/Objects.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "tests/macos/runtime/Blocks.h"
#include "tests/macos/runtime/Classes.h"
#include "tests/macos/runtime/Selectors.h"
#include "tests/macos/runtime/WeakReferences.h"

using namespace wicket::objc;

extern "C" Object* objc_msgSend(Object* receiver, Selector selector, ...);

namespace wicket::objc {
namespace {

/// Lies right before each object.
struct alignas(16) Header {
  std::atomic<long> references;
};

Header& headerOf(Object* object) { return reinterpret_cast<Header*>(object)[-1]; }

void callOwn(const Class* c, const char* selector, Object* object) {
  using Hidden = Object* (*)(Object*, Selector);
  if (Implementation method = findOwnMethod(c, selector)) reinterpret_cast<Hidden>(method)(object, nullptr);
}

/// The compiler's hidden methods for variables with constructors, superclass first.
void constructVariables(const Class* c, Object* object) {
  if (c == nullptr) return;
  constructVariables(c->superclass, object);
  callOwn(c, ".cxx_construct", object);
}

/// The other way round; releases the references that variables hold, too.
void destroyVariables(const Class* c, Object* object) {
  for (; c != nullptr; c = c->superclass) callOwn(c, ".cxx_destruct", object);
}

}  // namespace

Object* allocate(Class* c) {
  loadProgram();
  void* const memory = std::calloc(1, sizeof(Header) + c->data->instanceSize);
  if (memory == nullptr) throw std::bad_alloc();
  auto* const header = new (memory) Header{1};
  auto* const object = reinterpret_cast<Object*>(header + 1);
  object->isa = c;
  c->record->liveObjects.fetch_add(1, std::memory_order_relaxed);
  constructVariables(c, object);
  return object;
}

void destroy(Object* object) {
  const Class* const c = object->isa;
  destroyVariables(c, object);
  clearWeakReferences(object);
  c->record->liveObjects.fetch_sub(1, std::memory_order_relaxed);
  std::free(&headerOf(object));
}

bool retainUnlessDestroyed(Object* object) {
  if (isBlock(object) || !object->isa->record->isCounted) return objc_retain(object) != nullptr;
  auto& references = headerOf(object).references;
  long count = references.load(std::memory_order_relaxed);
  while (count > 0) {
    if (references.compare_exchange_weak(count, count + 1, std::memory_order_relaxed)) return true;
  }
  return false;
}

std::map<std::string, long> liveObjects() {
  std::map<std::string, long> result;
  for (const Class* c : allClasses()) {
    const long count = c->record->liveObjects.load(std::memory_order_relaxed);
    if (count != 0) result[c->data->name] = count;
  }
  if (const long count = liveBlocks(); count != 0) result["blocks"] = count;
  return result;
}

}  // namespace wicket::objc

extern "C" {

Object* objc_retain(Object* object) {
  if (object == nullptr) return nullptr;
  if (isBlock(object)) return static_cast<Object*>(_Block_copy(object));
  if (object->isa->record->isCounted) headerOf(object).references.fetch_add(1, std::memory_order_relaxed);
  return object;
}

void objc_release(Object* object) {
  if (object == nullptr) return;
  if (isBlock(object)) return _Block_release(object);
  if (!object->isa->record->isCounted) return;
  static const Selector dealloc = uniqueSelector("dealloc");
  if (headerOf(object).references.fetch_sub(1, std::memory_order_acq_rel) == 1) objc_msgSend(object, dealloc);
}

void objc_storeStrong(Object** place, Object* value) {
  Object* const old = *place;
  *place = objc_retain(value);
  objc_release(old);
}

// What the compiler calls instead of sending the message of that name.
Object* objc_alloc(Class* c) { return allocate(c); }
Object* objc_allocWithZone(Class* c) { return allocate(c); }
Object* objc_alloc_init(Class* c) { return objc_msgSend(allocate(c), uniqueSelector("init")); }
Object* objc_opt_new(Class* c) { return objc_alloc_init(c); }
Object* objc_opt_self(Object* object) { return object; }

Class* object_getClass(const Object* object) { return object == nullptr ? nullptr : object->isa; }
Class* objc_opt_class(Object* object) {
  if (object == nullptr) return nullptr;
  return object->isa->isMetaclass() ? reinterpret_cast<Class*>(object) : object->isa;
}
signed char objc_opt_isKindOfClass(const Object* object, const Class* kind) {
  return object != nullptr && isKindOf(object->isa, kind) ? 1 : 0;
}
signed char objc_opt_respondsToSelector(const Object* object, Selector selector) {
  return object != nullptr && findMethod(object->isa, selector) != nullptr ? 1 : 0;
}

void objc_enumerationMutation(const Object* collection) {
  std::fprintf(stderr, "an object of %s was changed while it was enumerated\n", collection->isa->data->name);
  std::abort();
}
}
