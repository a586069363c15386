#include "vakenv/memory/memory_manager_object.h"

#include "vakenv/memory/destroying.h"
#include "vakenv/memory/env.h"
#include "vakenv/memory/gen_alloc.h"

VakMemoryManagerObjectI::VakMemoryManagerObjectI(VakMemoryManager manager)
    : _memoryManager(manager.getImpl()) {}

VakMemoryManagerObjectI::~VakMemoryManagerObjectI() noexcept(false) = default;

VakEnv VakMemoryManagerObjectI::getEnv() const { return VakEnv(VakMemoryManager(_memoryManager)); }

// Deliberate: unlike its counterpart in the type system, this class does not test for a null
// memory manager.
void VakMemoryManagerObjectI::operator delete(VakMemoryManagerObjectI* object,
                                              std::destroying_delete_t,
                                              std::size_t size) noexcept(false) {
  VakGenAlloc* manager = object->_memoryManager;
  VakDestroyAndGiveBack(object, size, [manager](void* p, unsigned long n) { manager->free(p, n); });
}

void VakMemoryManagerObjectI::operator delete(void* p, unsigned long size) noexcept(false) {
  static_cast<VakMemoryManagerObjectI*>(p)->_memoryManager->free(p, size);
}

VakRttiMemoryManagerObjectI::VakRttiMemoryManagerObjectI(VakMemoryManager manager)
    : _memoryManager(manager.getImpl()) {}

VakRttiMemoryManagerObjectI::~VakRttiMemoryManagerObjectI() noexcept(false) = default;

VakEnv VakRttiMemoryManagerObjectI::getEnv() const {
  return VakEnv(VakMemoryManager(_memoryManager));
}

void VakRttiMemoryManagerObjectI::operator delete(VakRttiMemoryManagerObjectI* object,
                                                  std::destroying_delete_t,
                                                  std::size_t size) noexcept(false) {
  VakGenAlloc* manager = object->_memoryManager;
  VakDestroyAndGiveBack(object, size, [manager](void* p, unsigned long n) {
    if (manager != nullptr) manager->free(p, n);
  });
}

void VakRttiMemoryManagerObjectI::operator delete(void* p, unsigned long size) noexcept(false) {
  VakGenAlloc* manager = static_cast<VakRttiMemoryManagerObjectI*>(p)->_memoryManager;
  if (manager != nullptr) manager->free(p, size);
}
