// The seldom taken paths of a size class: refilling the free list, and elements that are not
// pooled.
#include "vakbase/fixed_size_allocator.h"

#include <cstdint>

#include "vakbase/memory.h"

namespace {

/// Asks for the cache lines of `bytes` bytes from `start` on, which need not be there: the block
/// that is carved next usually follows, and its lines are then near when it is linked.
void bringNear(const char* start, long bytes) {
  constexpr std::uintptr_t line = 64;
  const auto first = reinterpret_cast<std::uintptr_t>(start);
  const auto end = first + static_cast<std::uintptr_t>(bytes);
  for (auto address = first; address < end; address += line) {
    __builtin_prefetch(reinterpret_cast<const void*>(address), 1);
  }
}

}  // namespace

void* VakFixedSizeAllocatorI::allocateBlock(VakMemory* memory) {
  const VakMemory::Block block = memory->obtainBlock(_elementSize, this);
  const long stride = _elementSize + VakGuardBytes;
  char* const first = static_cast<char*>(block.start);
  char* const last = first + (block.count - 1) * stride;
  if (block.count > 1) {
    for (char* element = first + stride; element != last; element += stride) {
      VakUnpoison(element, sizeof(void*));
      StoreLink(element, element + stride);
      VakPoison(element, sizeof(void*));
    }
    VakUnpoison(last, sizeof(void*));
    StoreLink(last, _free);
    VakPoison(last, sizeof(void*));
    _free = first + stride;
    bringNear(last + stride, block.count * stride);
  }
  VakUnpoison(first, static_cast<unsigned long>(_elementSize));
  if constexpr (VakChecksMemory) VakMemoryLedger::Take(memory, first, _elementSize, true);
  return first;
}

#ifdef VAK_CHECKED_MEMORY
// The slow path enters what it hands out itself.
void* VakFixedSizeAllocatorI::allocateChecked(VakMemory* memory) {
  void* element = _free;
  if (element == nullptr) return allocateSlow(memory);
  _free = VakMemoryLedger::GetLink(element);
  VakMemoryLedger::Take(memory, element, _elementSize, true);
  _bytesInUse += _elementSize;
  return element;
}
#endif

void* VakFixedSizeAllocatorI::allocateSlow(VakMemory* memory) {
  if (_pooled != 0) {
    void* element = allocateBlock(memory);
    _bytesInUse += _elementSize;
    return element;
  }
  if (_list == nullptr) _list = new VakAllocationList();
  void* element = _list->alloc(_elementSize + VakGuardBytes);
  _bytesObtained += _elementSize;
  _bytesInUse += _elementSize;
  if constexpr (VakChecksMemory) VakMemoryLedger::Take(memory, element, _elementSize, false);
  return element;
}

void VakFixedSizeAllocatorI::deallocateToList(void* element) {
  VakAllocationList::free(element);
  _bytesObtained -= _elementSize;
  _bytesInUse -= _elementSize;
}
