#pragma once

// The process-wide cache in which the large slabs of ended pools wait for the next pool.
//
// A program that builds one model after the other would otherwise pay for the first touch of the
// same memory with every model: the system clears each page before it hands it out, which costs
// several times what filling it with objects does. The cache holds slabs of one size only and never
// more bytes than its limit, so what waits is bounded and can be given back with one call.
//
//   VakMemory ---takes from, gives back to---> VakSlabCache ---obtains from---> the heap
//
// Nothing waits in programs that a sanitizer watches, which is to see every slab come and go, nor
// without pooling, where there are no slabs.

#include "vakbase/numbers.h"

/// Gives every waiting slab back to the heap and returns their bytes. May be called at any time by
/// any thread; environments that live are not touched.
VakInt VakEmptySlabCache() noexcept;

/// Returns the bytes of the slabs that wait. Any thread may call it.
[[nodiscard]] VakInt VakGetSlabCacheUsage() noexcept;

/// Lets at most `bytes` bytes of slabs wait from now on and gives back what is beyond; 0 or a
/// negative number switches the cache off. Any thread may call it. A process begins with 128 MiB.
void VakSetSlabCacheLimit(VakInt bytes) noexcept;

/// Obtains and gives back the large slabs of all pools of the process. Every function may be called
/// by any thread.
///
/// Invariant: the bytes that wait are `SlabBytes` times the number of waiting slabs and exceed the
/// limit only while a slab is being given back.
class VakSlabCache {
 public:
  /// Bytes of a slab, and what it is aligned to: the size of a huge page, so that all of it can lie
  /// in huge pages.
  static constexpr unsigned long SlabBytes = 4UL * 1024 * 1024;
  static constexpr unsigned long Alignment = 2UL * 1024 * 1024;
  static_assert(SlabBytes % Alignment == 0);

  /// Returns a slab, one that waited if there is any, with whatever it held. Throws
  /// `std::bad_alloc`, having changed nothing.
  [[nodiscard]] static void* Take();

  /// Takes back what `Take` returned: it waits if the limit allows it.
  static void GiveBack(void* slab) noexcept;

  /// Returns `bytes` bytes of the heap, aligned to `Alignment`, for which huge pages are wished.
  /// Throws `std::bad_alloc`.
  [[nodiscard]] static void* ObtainHuge(unsigned long bytes);

  /// Gives what `ObtainHuge` returned back to the heap.
  static void ReleaseHuge(void* start) noexcept;
};
