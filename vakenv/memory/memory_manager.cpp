#include "vakenv/memory/memory_manager.h"

#include <ostream>

#include "vakenv/memory/tarn_alloc.h"

VakEnvI* VakGetEnv(VakMemoryManager manager) {
  VakGenAlloc* allocator = manager.getImpl();
  if (allocator == nullptr || allocator->isType(VakTarnAlloc::GetTypeInfo()) == 0) return nullptr;
  return static_cast<VakTarnAlloc*>(allocator)->env;
}

std::ostream& operator<<(std::ostream& out, VakMemoryManager manager) {
  const VakGenAlloc* allocator = manager.getImpl();
  return out << (allocator == nullptr ? VakEmptyHandleText : allocator->getRttiTypeName());
}
