// The proof of the pool's invariants, apart from the pool because only tests and debug builds call
// it.
#include <algorithm>
#include <string>
#include <vector>

#include "vakbase/memory.h"

namespace {

/// A stretch of addresses, ordered by its start.
struct Span {
  const char* _start;
  const char* _end;
  bool operator<(const Span& other) const { return _start < other._start; }
};

/// Reads the link of a free element without leaving it unpoisoned.
const char* readLink(const char* element) {
  VakUnpoison(element, sizeof(void*));
  const void* next = VakFixedSizeAllocatorI::LoadLink(element);
  VakPoison(element, sizeof(void*));
  return static_cast<const char*>(next);
}

}  // namespace

/// One walk over a pool: gathers regions and free elements, and stops at the first thing broken.
class VakMemoryCheck {
 public:
  explicit VakMemoryCheck(const VakMemory& memory) : _memory(memory) {}

  std::string run(std::initializer_list<const VakFixedSizeAllocatorI*> others) {
    if (!gatherRegions()) return _broken;
    for (long index = 0; index < VakMemory::ClassCount; ++index) {
      const VakFixedSizeAllocatorI& sizeClass = _memory._classes[index]._allocator;
      if (_memory._allocators[index] != &sizeClass) return "an index leads to another class";
      if (sizeClass._elementSize != VakMemory::getElementSize(index)) {
        return "a class has another element size than its index";
      }
      if (!checkAllocator(sizeClass)) return _broken;
    }
    for (const VakFixedSizeAllocatorI* other : others) {
      if (!checkAllocator(*other)) return _broken;
    }
    return checkSums(others);
  }

 private:
  bool fail(std::string text) {
    _broken = std::move(text);
    return false;
  }

  /// Gathers the regions and tests them against the bytes obtained and the slab that is carved.
  bool gatherRegions() {
    long bytes = 0;
    for (VakMemory::Region* region = _memory._regions; region != nullptr; region = region->_next) {
      bytes += static_cast<long>(region->_bytes);
      if (bytes > _memory._bytesObtained) return fail("the regions exceed the bytes obtained");
      _regions.push_back(
          {VakMemory::FirstElement(region), reinterpret_cast<char*>(region) + region->_bytes});
    }
    if (bytes != _memory._bytesObtained)
      return fail("the regions fall short of the bytes obtained");
    std::sort(_regions.begin(), _regions.end());
    if (_memory._slabCursor == nullptr) return true;
    if (_memory._slabCursor > _memory._slabEnd) return fail("the slab is carved beyond its end");
    if (!liesInRegion({_memory._slabCursor, _memory._slabEnd})) {
      return fail("what is left of the slab is no part of a region");
    }
    _free.push_back({_memory._slabCursor, _memory._slabEnd});
    return true;
  }

  /// Tests the members, the free list and the allocation list of one allocator.
  bool checkAllocator(const VakFixedSizeAllocatorI& allocator) {
    const long size = allocator._elementSize;
    const std::string name = std::to_string(size) + "-byte elements: ";
    if (size < 8 || size % 8 != 0) return fail(name + "the size is not one of whole words");
    if (allocator._bytesInUse % size != 0 || allocator._bytesObtained % size != 0) {
      return fail(name + "a count of bytes is not one of whole elements");
    }
    if (allocator._pooled == 0 && allocator._free != nullptr) {
      return fail(name + "there is a free list without pooling");
    }
    if (allocator._list != nullptr) {
      const std::string broken = allocator._list->check();
      if (!broken.empty()) return fail(name + broken);
    }
    return gatherFreeList(static_cast<const char*>(allocator._free), size, name);
  }

  bool gatherFreeList(const char* element, long size, const std::string& name) {
    const auto alignment = static_cast<unsigned long>(size % 16 == 0 ? 16 : 8);
    long bytesLeft = _memory._bytesObtained;
    while (element != nullptr) {
      const Span span{element, element + size};
      if (!liesInRegion(span)) return fail(name + "the free list leaves the pool");
      if (reinterpret_cast<unsigned long>(element) % alignment != 0) {
        return fail(name + "a free element is not aligned");
      }
      bytesLeft -= size;
      if (bytesLeft < 0) return fail(name + "the free list is longer than the pool");
      _free.push_back(span);
      element = readLink(element);
    }
    return true;
  }

  bool liesInRegion(const Span& span) const {
    auto after = std::upper_bound(_regions.begin(), _regions.end(), span);
    return after != _regions.begin() && span._end <= std::prev(after)->_end;
  }

  /// Tests what holds of all allocators together: no free memory twice, and the totals.
  std::string checkSums(std::initializer_list<const VakFixedSizeAllocatorI*> others) {
    std::sort(_free.begin(), _free.end());
    const auto overlaps = [](const Span& left, const Span& right) {
      return left._end > right._start;
    };
    if (std::adjacent_find(_free.begin(), _free.end(), overlaps) != _free.end()) {
      return "free elements overlap";
    }
    long inUse = _memory.getMemoryUsage();
    long total = _memory.getTotalMemoryUsage();
    for (const VakFixedSizeAllocatorI* other : others) {
      inUse += other->_bytesInUse;
      total += other->_bytesObtained;
    }
    return inUse > total ? "more bytes are in use than were obtained" : "";
  }

  const VakMemory& _memory;
  std::vector<Span> _regions;  ///< Where elements may lie, in the order of their addresses.
  std::vector<Span> _free;     ///< Free elements, and what is left of the slab.
  std::string _broken;         ///< What was found broken.
};

std::string VakMemory::check(std::initializer_list<const VakFixedSizeAllocatorI*> others) const {
  return VakMemoryCheck(*this).run(others);
}
