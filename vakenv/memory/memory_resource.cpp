#include "vakenv/memory/memory_resource.h"

VakMemoryResource::VakMemoryResource(VakMemoryManager manager) : _memory(manager) {}

VakMemoryResource::VakMemoryResource(VakEnv env) : _memory(env.getMemoryManager()) {}

VakMemoryResource::~VakMemoryResource() = default;

void* VakMemoryResource::do_allocate(std::size_t bytes, std::size_t alignment) {
  return _memory.allocate(bytes, alignment);
}

void VakMemoryResource::do_deallocate(void* p, std::size_t bytes, std::size_t alignment) {
  _memory.deallocate(p, bytes, alignment);
}

bool VakMemoryResource::do_is_equal(const std::pmr::memory_resource& other) const noexcept {
  const auto* resource = dynamic_cast<const VakMemoryResource*>(&other);
  return resource != nullptr && resource->_memory == _memory;
}
