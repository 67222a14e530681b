// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/macos/runtime/AutoreleasePool.h"

#include <atomic>
#include <cstdint>
#include <vector>

#include "tests/macos/runtime/Objects.h"

using namespace wicket::objc;

namespace wicket::objc {
namespace {

std::atomic<long> withoutPool = 0;

/// The objects of one thread that are released when the pool is closed that was open when they came. A pool is
/// known by how many objects were there before it.
class Pools {
 public:
  Pools() = default;
  Pools(const Pools&) = delete;
  Pools& operator=(const Pools&) = delete;
  ~Pools() { releaseDownTo(0); }

  std::size_t open() {
    ++openPools_;
    return objects_.size();
  }
  void close(std::size_t pool) {
    releaseDownTo(pool);
    --openPools_;
  }
  void add(Object* object) {
    if (openPools_ == 0) withoutPool.fetch_add(1, std::memory_order_relaxed);
    objects_.push_back(object);
  }

 private:
  void releaseDownTo(std::size_t count) {
    while (objects_.size() > count) {
      Object* const object = objects_.back();
      objects_.pop_back();
      objc_release(object);
    }
  }

  std::vector<Object*> objects_;
  long openPools_ = 0;
};

thread_local Pools pools;

}  // namespace

long autoreleasedWithoutPool() { return withoutPool.load(std::memory_order_relaxed); }

}  // namespace wicket::objc

extern "C" {

void* objc_autoreleasePoolPush() { return reinterpret_cast<void*>(pools.open()); }
void objc_autoreleasePoolPop(void* pool) { pools.close(reinterpret_cast<std::uintptr_t>(pool)); }

Object* objc_autorelease(Object* object) {
  if (object != nullptr) pools.add(object);
  return object;
}

// A result that is handed over autoreleased. Apple's runtime notices when the caller would retain it at once and
// then leaves the pool out; this one does not.
Object* objc_autoreleaseReturnValue(Object* object) { return objc_autorelease(object); }
Object* objc_retainAutorelease(Object* object) { return objc_autorelease(objc_retain(object)); }
Object* objc_retainAutoreleaseReturnValue(Object* object) { return objc_retainAutorelease(object); }
Object* objc_retainAutoreleasedReturnValue(Object* object) { return objc_retain(object); }
Object* objc_unsafeClaimAutoreleasedReturnValue(Object* object) { return object; }
}
