#pragma once

// The proof of the pool's invariants, and what it knows of the pool's memory while it lasts. Only
// tests, debug builds and those who look for a fault use it, so it stands apart from the pool.

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "vakbase/fixed_size_allocator.h"
#include "vakbase/memory.h"

/// One look at a pool: proves its invariants and remembers its free memory.
///
/// Made on the stack; valid until the pool is used again. It takes memory from the general heap
/// only. Making it costs time and memory in the number of free elements (and of elements that are
/// not pooled), times a logarithm for putting them in order. Throws `std::bad_alloc`.
///
/// Threads: confined to one thread at a time; several objects are independent of each other.
/// Phases: any, until the pool it looked at is used again.
class VakMemoryInspection {
 public:
  /// Looks at `memory` and at `others`, which draw their blocks from it.
  explicit VakMemoryInspection(const VakMemory& memory,
                               std::initializer_list<const VakFixedSizeAllocatorI*> others = {});
  VakMemoryInspection(const VakMemoryInspection&) = delete;
  VakMemoryInspection& operator=(const VakMemoryInspection&) = delete;

  /// An empty text if every invariant holds, else what is broken first.
  [[nodiscard]] const std::string& check() const { return _broken; }

  /// True when the byte at `address` belongs to the pool and to no element that was handed out, so
  /// that whatever is thought to be there is gone. Without pooling nothing is known, and this is
  /// false. Costs the logarithm of the number of free elements.
  [[nodiscard]] bool isFree(const void* address) const;

 private:
  /// A stretch of addresses, ordered by its start.
  struct Span {
    const char* _start;
    const char* _end;
    bool operator<(const Span& other) const { return _start < other._start; }
  };

  bool fail(std::string text) {
    _broken = std::move(text);
    return false;
  }
  bool run(std::initializer_list<const VakFixedSizeAllocatorI*> others);
  bool gatherRegions();
  bool checkClass(long index);
  bool checkAllocator(const VakFixedSizeAllocatorI& allocator, const VakMemory::Growth* growth);
  bool gatherFreeList(const VakFixedSizeAllocatorI& allocator, const std::string& name);
  bool checkHeapElements(std::initializer_list<const VakFixedSizeAllocatorI*> others);
  bool checkSums(std::initializer_list<const VakFixedSizeAllocatorI*> others);
  [[nodiscard]] bool liesInRegion(const Span& span) const;

  const VakMemory& _memory;
  std::vector<Span> _regions;  ///< Where elements may lie, in the order of their addresses.
  std::vector<Span> _free;  ///< Free elements, and what is left of the slab; in order at the end.
  std::string _broken;      ///< What was found broken; empty for nothing.
};

/// True when `pool` is given and knows `address` as free memory: whatever a check was about to read
/// there is gone.
[[nodiscard]] inline bool VakIsGone(const VakMemoryInspection* pool, const void* address) {
  return pool != nullptr && pool->isFree(address);
}
