#pragma once

// The process-wide cache in which the memory of ended pools waits for the next pool.
//
// A program that builds one model after the other would otherwise pay for the first touch of the
// same memory with every model: the system clears each page before it hands it out, which costs
// several times what filling it with objects does. What waits are whole regions of pools, slabs and
// single large elements, from 64 KiB on. They never exceed the limit of the cache together, and one
// call gives them back.
//
//   VakMemory ---takes from, gives back to---> VakSlabCache ---obtains from---> the heap
//
// Nothing waits in programs that a sanitizer watches, which is to see all memory come and go, nor
// without pooling, where there are no regions.

#include "vakbase/numbers.h"

/// Gives everything that waits back to the heap and returns its bytes. May be called at any time by
/// any thread; environments that live are not touched.
/// Threads: thread safe. Phases: any.
VakInt VakEmptySlabCache() noexcept;

/// Returns the bytes that wait. Any thread may call it.
/// Threads: thread safe. Phases: any.
[[nodiscard]] VakInt VakGetSlabCacheUsage() noexcept;

/// Lets at most `bytes` bytes wait from now on, and empties the cache if more do; 0 or a negative
/// number switches it off. Any thread may call it. A process begins with 128 MiB.
/// Threads: thread safe. Phases: any.
void VakSetSlabCacheLimit(VakInt bytes) noexcept;

/// Obtains and gives back the regions of all pools of the process. Every function may be called by
/// any thread.
///
/// Invariant: the bytes that wait are those of the waiting regions, and do not exceed the limit.
///
/// Threads: thread safe.
/// Phases: any.
/// Gives back: GiveBack() takes back what Take() returned, with the same size.
class VakSlabCache {
 public:
  /// Smaller regions do not wait: the heap keeps such memory itself.
  static constexpr unsigned long SmallestBytes = 64UL * 1024;

  /// Regions of so many bytes are aligned to huge pages, which are wished for them.
  static constexpr unsigned long HugeBytes = 4UL * 1024 * 1024;
  static constexpr unsigned long HugeAlignment = 2UL * 1024 * 1024;

  /// Returns a region of `bytes` bytes with whatever it holds, one that waited if there is any of
  /// exactly that size. Constant time. Throws `std::bad_alloc`, having changed nothing.
  [[nodiscard]] static void* Take(unsigned long bytes);

  /// Takes back what `Take` returned for as many bytes, at least 16: it waits if the limit allows
  /// it.
  static void GiveBack(void* region, unsigned long bytes) noexcept;
};
