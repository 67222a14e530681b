// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors

// Blocks begin on the stack and are copied to the heap, with what they capture, when they are kept.
#include "tests/macos/runtime/Blocks.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "tests/macos/runtime/Objects.h"

using namespace wicket::objc;

extern "C" {
// Defined beside their classes, under the names that the compiler refers to them by.
extern Class _NSConcreteStackBlock;
extern Class _NSConcreteMallocBlock;
extern Class _NSConcreteGlobalBlock;
}

namespace wicket::objc {
namespace {

struct BlockDescriptor {
  unsigned long reserved;
  unsigned long size;
  // These two only with the flag hasCopyAndDispose.
  void (*copy)(void* to, const void* from);
  void (*dispose)(const void* block);
};

struct Block {
  Class* isa;
  std::atomic<std::int32_t> flags;  ///< the reference count in steps of 2 in the lower half, and those below
  std::int32_t reserved;
  void (*invoke)();
  BlockDescriptor* descriptor;
};

/// The home of a variable that blocks may change (__block).
struct SharedVariable {
  void* isa;
  SharedVariable* forwarding;  ///< itself, or where it has moved to
  std::atomic<std::int32_t> flags;
  std::uint32_t size;
  // These two only with the flag hasCopyAndDispose.
  void (*keep)(SharedVariable* to, SharedVariable* from);
  void (*destroy)(SharedVariable* variable);
};

constexpr std::int32_t oneReference = 2;
constexpr std::int32_t referenceBits = 0xfffe;
constexpr std::int32_t onHeap = 1 << 24;
constexpr std::int32_t hasCopyAndDispose = 1 << 25;

// What a captured field is.
constexpr int fieldIsBlock = 7;
constexpr int fieldIsSharedVariable = 8;
constexpr int kindOfField = 0xf;
constexpr int isPartOfSharedVariable = 128;

std::atomic<long> blocksOnHeap = 0;

/// True when that was the last reference.
bool releaseOne(std::atomic<std::int32_t>& flags) {
  return ((flags.fetch_sub(oneReference, std::memory_order_acq_rel) - oneReference) & referenceBits) == 0;
}

SharedVariable* copySharedVariable(SharedVariable* variable) {
  SharedVariable* const current = variable->forwarding;
  if ((current->flags.load() & onHeap) != 0) {
    current->flags.fetch_add(oneReference, std::memory_order_relaxed);
    return current;
  }
  auto* const copy = static_cast<SharedVariable*>(std::malloc(current->size));
  std::memcpy(static_cast<void*>(copy), static_cast<const void*>(current), current->size);
  copy->forwarding = copy;
  current->forwarding = copy;
  // One reference for the block and one for the stack frame, which gives it up when it ends.
  copy->flags = current->flags.load() | onHeap | 2 * oneReference;
  if ((current->flags.load() & hasCopyAndDispose) != 0) current->keep(copy, current);
  return copy;
}

void releaseSharedVariable(SharedVariable* variable) {
  SharedVariable* const current = variable->forwarding;
  if ((current->flags.load() & onHeap) == 0 || !releaseOne(current->flags)) return;
  if ((current->flags.load() & hasCopyAndDispose) != 0) current->destroy(current);
  std::free(current);
}

}  // namespace

bool isBlock(const Object* object) {
  return object->isa == &_NSConcreteMallocBlock || object->isa == &_NSConcreteStackBlock ||
         object->isa == &_NSConcreteGlobalBlock;
}

long liveBlocks() { return blocksOnHeap.load(std::memory_order_relaxed); }

}  // namespace wicket::objc

extern "C" {

void* _Block_copy(const void* block) {
  auto* const original = static_cast<Block*>(const_cast<void*>(block));
  if (original == nullptr || original->isa == &_NSConcreteGlobalBlock) return original;
  if (original->isa == &_NSConcreteMallocBlock) {
    original->flags.fetch_add(oneReference, std::memory_order_relaxed);
    return original;
  }
  auto* const copy = static_cast<Block*>(std::malloc(original->descriptor->size));
  std::memcpy(static_cast<void*>(copy), block, original->descriptor->size);
  copy->isa = &_NSConcreteMallocBlock;
  copy->flags = (original->flags.load() & ~0xffff) | onHeap | oneReference;
  blocksOnHeap.fetch_add(1, std::memory_order_relaxed);
  if ((original->flags.load() & hasCopyAndDispose) != 0) original->descriptor->copy(copy, original);
  return copy;
}

void _Block_release(const void* block) {
  auto* const released = static_cast<Block*>(const_cast<void*>(block));
  if (released == nullptr || released->isa != &_NSConcreteMallocBlock || !releaseOne(released->flags)) return;
  if ((released->flags.load() & hasCopyAndDispose) != 0) released->descriptor->dispose(released);
  blocksOnHeap.fetch_sub(1, std::memory_order_relaxed);
  std::free(released);
}

// The compiler's copy and dispose functions call these two for each captured field that is more than bytes.
void _Block_object_assign(void* place, const void* value, int kind) {
  auto** const field = static_cast<const void**>(place);
  if ((kind & isPartOfSharedVariable) != 0) {
    *field = value;
  } else if ((kind & kindOfField) == fieldIsSharedVariable) {
    *field = copySharedVariable(static_cast<SharedVariable*>(const_cast<void*>(value)));
  } else if ((kind & kindOfField) == fieldIsBlock) {
    *field = _Block_copy(value);
  } else {
    *field = objc_retain(static_cast<Object*>(const_cast<void*>(value)));
  }
}

void _Block_object_dispose(const void* value, int kind) {
  if ((kind & isPartOfSharedVariable) != 0) return;
  if ((kind & kindOfField) == fieldIsSharedVariable) {
    releaseSharedVariable(static_cast<SharedVariable*>(const_cast<void*>(value)));
  } else if ((kind & kindOfField) == fieldIsBlock) {
    _Block_release(value);
  } else {
    objc_release(static_cast<Object*>(const_cast<void*>(value)));
  }
}

Object* objc_retainBlock(const Object* block) { return static_cast<Object*>(_Block_copy(block)); }
}
