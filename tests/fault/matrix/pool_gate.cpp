#include "tests/fault/matrix/pool_gate.h"

#include <new>
#include <vector>

#include "vakbase/fixed_size_allocator.h"
#include "vakbase/memory.h"
#include "vakbase/poison.h"
#include "vakenv/core/environment_impl.h"

// What the linker makes of the calls of VakFixedSizeAllocatorI::allocateSlow: every call goes to
// the first function, and the second one names the function of the library.
void* VakServeThroughGate(VakFixedSizeAllocatorI* allocator, VakMemory* memory) asm(
    "__wrap__ZN22VakFixedSizeAllocatorI12allocateSlowEP9VakMemory");
void* VakServeFromLibrary(VakFixedSizeAllocatorI* allocator, VakMemory* memory) asm(
    "__real__ZN22VakFixedSizeAllocatorI12allocateSlowEP9VakMemory");

namespace {

// A size class whose free list is kept aside.
struct Starved {
  VakFixedSizeAllocatorI* allocator;
  void* free;  // First element of its free list.
};

thread_local bool _isStanding = false;
thread_local long _requests = 0;
thread_local long _failAt = 0;
thread_local VakFailureSpan _span = VakFailureSpan::Once;

std::vector<Starved>& starvedClasses() {
  thread_local std::vector<Starved> classes;
  return classes;
}

Starved* findStarved(const VakFixedSizeAllocatorI* allocator) {
  for (Starved& starved : starvedClasses()) {
    if (starved.allocator == allocator) return &starved;
  }
  return nullptr;
}

bool isToFail() {
  ++_requests;
  if (_requests == _failAt) return true;
  return _failAt != 0 && _requests > _failAt && _span == VakFailureSpan::FromThenOn;
}

// Free elements are poisoned; their links are read and written in between.
void* loadLink(void* element) {
  VakUnpoison(element, sizeof(void*));
  void* next = VakFixedSizeAllocatorI::LoadLink(element);
  VakPoison(element, sizeof(void*));
  return next;
}
void storeLink(void* element, void* next) {
  VakUnpoison(element, sizeof(void*));
  VakFixedSizeAllocatorI::StoreLink(element, next);
  VakPoison(element, sizeof(void*));
}

// Puts what is kept aside behind what was given back meanwhile.
void feed(const Starved& starved) {
  if (starved.allocator->_free == nullptr) {
    starved.allocator->_free = starved.free;
    return;
  }
  void* last = starved.allocator->_free;
  while (void* next = loadLink(last)) last = next;
  storeLink(last, starved.free);
}

}  // namespace

void* VakServeThroughGate(VakFixedSizeAllocatorI* allocator, VakMemory* memory) {
  const VakSparedNew spared;
  if (!_isStanding) return VakServeFromLibrary(allocator, memory);
  if (isToFail()) throw std::bad_alloc();
  Starved* starved = findStarved(allocator);
  if (starved == nullptr) return VakServeFromLibrary(allocator, memory);
  void* element = nullptr;
  if (starved->free == nullptr) {
    element = VakServeFromLibrary(allocator, memory);
  } else {
    allocator->_free = starved->free;
    element = allocator->allocate(memory);
  }
  starved->free = allocator->_free;
  allocator->_free = nullptr;
  return element;
}

VakPoolGate::VakPoolGate(long failAt, VakFailureSpan span, std::span<VakEnvI* const> starved) {
  for (VakEnvI* env : starved) {
    for (VakFixedSizeAllocatorI* allocator : env->_memory._allocators) starve(allocator);
    starve(env->_termAllocator);
  }
  _requests = 0;
  _failAt = failAt;
  _span = span;
  _isStanding = true;
}

VakPoolGate::~VakPoolGate() {
  _isStanding = false;
  for (const Starved& starved : starvedClasses()) feed(starved);
  std::vector<Starved>().swap(starvedClasses());
}

long VakPoolGate::count() const { return _requests; }

void VakPoolGate::starve(VakFixedSizeAllocatorI* allocator) {
  if (allocator->_pooled == 0) return;
  starvedClasses().push_back({allocator, allocator->_free});
  allocator->_free = nullptr;
}
