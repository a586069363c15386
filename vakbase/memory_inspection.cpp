#include "vakbase/memory_inspection.h"

#include <algorithm>

#include "vakbase/fault_text.h"

namespace {

/// Reads the link of a free element without leaving it unpoisoned.
const char* readLink(const char* element) {
  VakUnpoison(element, sizeof(void*));
  const void* next = VakFixedSizeAllocatorI::LoadLink(element);
  VakPoison(element, sizeof(void*));
  return static_cast<const char*>(next);
}

std::string nameOf(const VakFixedSizeAllocatorI& allocator) {
  return VakFaultText(allocator._elementSize, "-byte elements: ");
}

const void* asAddress(const char* p) { return p; }

}  // namespace

VakMemoryInspection::VakMemoryInspection(
    const VakMemory& memory, std::initializer_list<const VakFixedSizeAllocatorI*> others)
    : _memory(memory) {
  static_cast<void>(run(others));
}

bool VakMemoryInspection::isFree(const void* address) const {
  const char* byte = static_cast<const char*>(address);
  const auto after = std::upper_bound(_free.begin(), _free.end(), Span{byte, byte});
  return after != _free.begin() && byte < std::prev(after)->_end;
}

bool VakMemoryInspection::run(std::initializer_list<const VakFixedSizeAllocatorI*> others) {
  if (!gatherRegions()) return false;
  for (long index = 0; index < VakMemory::ClassCount; ++index) {
    if (!checkClass(index)) return false;
  }
  if constexpr (VakChecksMemory) {
    const std::string overrun = VakMemoryLedger::Check(&_memory);
    if (!overrun.empty()) return fail(overrun);
  }
  for (const VakFixedSizeAllocatorI* other : others) {
    const bool isCounted = other == _memory._companion;
    if (!checkAllocator(*other, isCounted ? &_memory._companionGrowth : nullptr)) return false;
  }
  return checkSums(others);
}

/// Gathers the regions and tests them against the bytes obtained and the slab that is carved.
bool VakMemoryInspection::gatherRegions() {
  long bytes = 0;
  for (VakMemory::Region* region = _memory._regions; region != nullptr; region = region->_next) {
    bytes += static_cast<long>(region->_bytes);
    if (bytes > _memory._bytesObtained) {
      return fail(VakFaultText("the regions exceed the ", _memory._bytesObtained,
                               " bytes obtained at region ", static_cast<void*>(region)));
    }
    _regions.push_back(
        {VakMemory::FirstElement(region), reinterpret_cast<char*>(region) + region->_bytes});
  }
  if (bytes != _memory._bytesObtained) {
    return fail(VakFaultText("the regions have ", bytes, " bytes of the ", _memory._bytesObtained,
                             " obtained"));
  }
  std::sort(_regions.begin(), _regions.end());
  if (_memory._slabCursor == nullptr) return true;
  if (_memory._slabCursor > _memory._slabEnd) return fail("the slab is carved beyond its end");
  if (!liesInRegion({_memory._slabCursor, _memory._slabEnd})) {
    return fail(VakFaultText("what is left of the slab, from ", asAddress(_memory._slabCursor),
                             " on, is no part of a region"));
  }
  _free.push_back({_memory._slabCursor, _memory._slabEnd});
  return true;
}

bool VakMemoryInspection::checkClass(long index) {
  const VakMemory::SizeClass& sizeClass = _memory._classes[index];
  if (_memory._allocators[index] != &sizeClass._allocator) {
    return fail(VakFaultText("index ", index, " leads to another class"));
  }
  if (sizeClass._allocator._elementSize != VakMemory::getElementSize(index)) {
    return fail(VakFaultText("class ", index, " has elements of ",
                             sizeClass._allocator._elementSize, " bytes instead of ",
                             VakMemory::getElementSize(index)));
  }
  return checkAllocator(sizeClass._allocator, &sizeClass._growth);
}

/// Tests the members, the free list and the allocation list of one allocator; `growth` is what it
/// obtained, null when that is not known.
bool VakMemoryInspection::checkAllocator(const VakFixedSizeAllocatorI& allocator,
                                         const VakMemory::Growth* growth) {
  const long size = allocator._elementSize;
  if (allocator._free == nullptr && allocator._list == nullptr && allocator._bytesInUse == 0 &&
      allocator._bytesObtained == 0 && growth != nullptr && growth->_elements == 0) {
    return true;  // Most classes were never used.
  }
  const std::string name = nameOf(allocator);
  if (size < 8 || size % 8 != 0) return fail(name + "the size is not one of whole words");
  if (allocator._bytesInUse % size != 0 || allocator._bytesObtained % size != 0) {
    return fail(VakFaultText(name, "a count of bytes, ", allocator._bytesInUse, " in use or ",
                             allocator._bytesObtained, " obtained, is not one of whole elements"));
  }
  if (allocator._pooled == 0 && allocator._free != nullptr) {
    return fail(name + "there is a free list without pooling");
  }
  if (allocator._list != nullptr) {
    std::string broken = allocator._list->check();
    if (!broken.empty()) return fail(name + broken);
  }
  const std::size_t before = _free.size();
  if (!gatherFreeList(allocator, name)) return false;
  if (allocator._pooled == 0 || growth == nullptr) return true;
  const auto free = static_cast<long>(_free.size() - before);
  const long live = allocator._bytesInUse / size;
  if (live + free == growth->_elements) return true;
  return fail(VakFaultText(name, live, " in use and ", free, " free are not the ",
                           growth->_elements, " of its blocks"));
}

bool VakMemoryInspection::gatherFreeList(const VakFixedSizeAllocatorI& allocator,
                                         const std::string& name) {
  const long size = allocator._elementSize;
  const auto alignment = static_cast<unsigned long>(size % 16 == 0 ? 16 : 8);
  long bytesLeft = _memory._bytesObtained;
  const char* element = static_cast<const char*>(allocator._free);
  while (element != nullptr) {
    const Span span{element, element + size};
    if (!liesInRegion(span)) {
      return fail(VakFaultText(name, "the free list leaves the pool at ", asAddress(element)));
    }
    if (reinterpret_cast<unsigned long>(element) % alignment != 0) {
      return fail(VakFaultText(name, "free element ", asAddress(element), " is not aligned"));
    }
    bytesLeft -= size;
    if (bytesLeft < 0) {
      return fail(
          VakFaultText(name, "the free list runs in a circle through ", asAddress(element)));
    }
    _free.push_back(span);
    element = readLink(element);
  }
  return true;
}

bool VakMemoryInspection::liesInRegion(const Span& span) const {
  const auto after = std::upper_bound(_regions.begin(), _regions.end(), span);
  return after != _regions.begin() && span._end <= std::prev(after)->_end;
}

/// Tests what holds of all allocators together: no free memory twice, and the totals.
bool VakMemoryInspection::checkSums(std::initializer_list<const VakFixedSizeAllocatorI*> others) {
  std::sort(_free.begin(), _free.end());
  const auto overlaps = [](const Span& left, const Span& right) {
    return left._end > right._start;
  };
  const auto twice = std::adjacent_find(_free.begin(), _free.end(), overlaps);
  if (twice != _free.end()) {
    return fail(VakFaultText("free elements overlap at ", asAddress(std::next(twice)->_start)));
  }
  long inUse = _memory.getMemoryUsage();
  long total = _memory.getTotalMemoryUsage();
  for (const VakFixedSizeAllocatorI* other : others) {
    inUse += other->_bytesInUse;
    total += other->_bytesObtained;
  }
  if (inUse > total) {
    return fail(VakFaultText(inUse, " bytes are in use of ", total, " obtained"));
  }
  return checkHeapElements(others);
}

/// Tests that elements which are not pooled are in the allocation lists. They may have come through
/// one allocator and gone through another, so only the sums count.
bool VakMemoryInspection::checkHeapElements(
    std::initializer_list<const VakFixedSizeAllocatorI*> others) {
  long counted = 0;
  long listed = 0;
  const auto add = [&](const VakFixedSizeAllocatorI& allocator) {
    counted += allocator._bytesObtained;
    if (allocator._list == nullptr) return;
    listed += allocator._list->countElements() * allocator._elementSize;
  };
  for (const VakMemory::SizeClass& sizeClass : _memory._classes) add(sizeClass._allocator);
  for (const VakFixedSizeAllocatorI* other : others) add(*other);
  if (counted == listed) return true;
  return fail(
      VakFaultText("the allocation lists hold ", listed, " bytes of the ", counted, " counted"));
}

std::string VakMemory::check(std::initializer_list<const VakFixedSizeAllocatorI*> others) const {
  return VakMemoryInspection(*this, others).check();
}
