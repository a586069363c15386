// The seldom taken paths of a size class: refilling the free list, and elements that are not
// pooled.
#include "vakbase/fixed_size_allocator.h"

#include "vakbase/memory.h"

void* VakFixedSizeAllocatorI::allocateBlock(VakMemory* memory) {
  const VakMemory::Block block = memory->obtainBlock(_elementSize, this);
  char* const first = static_cast<char*>(block.start);
  char* const last = first + (block.count - 1) * _elementSize;
  if (block.count > 1) {
    for (char* element = first + _elementSize; element != last; element += _elementSize) {
      VakUnpoison(element, sizeof(void*));
      StoreLink(element, element + _elementSize);
      VakPoison(element, sizeof(void*));
    }
    VakUnpoison(last, sizeof(void*));
    StoreLink(last, _free);
    VakPoison(last, sizeof(void*));
    _free = first + _elementSize;
  }
  VakUnpoison(first, static_cast<unsigned long>(_elementSize));
  return first;
}

void* VakFixedSizeAllocatorI::allocateSlow(VakMemory* memory) {
  if (_pooled != 0) {
    void* element = allocateBlock(memory);
    _bytesInUse += _elementSize;
    return element;
  }
  if (_list == nullptr) _list = new VakAllocationList();
  void* element = _list->alloc(_elementSize);
  _bytesObtained += _elementSize;
  _bytesInUse += _elementSize;
  return element;
}

void VakFixedSizeAllocatorI::deallocateToList(void* element) {
  VakAllocationList::free(element);
  _bytesObtained -= _elementSize;
  _bytesInUse -= _elementSize;
}
