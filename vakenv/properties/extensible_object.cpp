#include "vakenv/properties/extensible_object.h"

#include "vakenv/memory/gen_alloc.h"

VakGenAlloc* VakGetOwnerAllocator(const VakExtensibleRttiMemoryManagerObjectI* owner) {
  return owner->_memoryManager;
}

VakGenAlloc* VakGetOwnerAllocator(const VakExtensibleRttiEnvObjectI* owner) {
  return owner->getMemoryManager().getImpl();
}

VakExtensibleRttiMemoryManagerObjectI::VakExtensibleRttiMemoryManagerObjectI(
    VakMemoryManager manager)
    : VakRttiMemoryManagerObjectI(manager), _extension(nullptr) {}

VakExtensibleRttiMemoryManagerObjectI::~VakExtensibleRttiMemoryManagerObjectI() noexcept(false) {
  if (_extension != nullptr) slot().end();
}

// An object that never needed an extension may have a null environment, so the allocator is asked
// for only when there is something to give back.
VakExtensibleRttiEnvObjectI::~VakExtensibleRttiEnvObjectI() noexcept(false) {
  if (_extension != nullptr) slot().end();
}
