#pragma once

// The block memory pool from which all model memory of an environment comes.
//
//   VakMemory ---embeds---> one VakFixedSizeAllocatorI a size class (free list and counts)
//       |
//       +---- slabs: large pieces of heap memory, from which blocks are carved
//       +---- single elements: heap memory of one large element each
//
// Glossary
//   size class  all requests that are served with elements of one size; requests carry their size
//               when they are given back too, so no header stands in front of an element
//   element     what a request gets: as many bytes as its class says, aligned to 16 if that is a
//               multiple of 16 and to 8 otherwise
//   block       neighbouring elements of one class, linked into its free list when the class runs
//               empty; blocks of a class grow from a few hundred bytes to 4 KiB, with elements of
//               512 bytes and more to 16 KiB, which stays in the first-level cache meanwhile
//   slab        the heap memory that blocks are carved from; slabs grow from 4 KiB to 4 MiB, so
//               that a small environment stays small and a large one seldom asks the heap; the
//               largest lie in huge pages where the system grants them
//   region      a slab or a single large element: one block of the heap, in a list of the pool;
//               large regions wait in the cache of the process (slab_cache.h) when their pool has
//               ended
//
// Free elements stay in their class until the pool ends: regions are released all at once by the
// destructor. In the mode without pooling nothing of this is used: every element is a heap block of
// its own in the allocation list of its class.

#include <initializer_list>
#include <string>

#include "vakbase/fixed_size_allocator.h"
#include "vakbase/size_classes.h"

/// The size-class pool. The environment embeds one and ends it last; allocators of their own
/// element size may draw blocks from it. Not safe for concurrent use.
///
/// Invariant: bytes obtained from the heap are never less than bytes in use; every free element of
/// a class lies in a region, aligned, and in no other free element.
///
/// Threads: confined to one thread at a time; several objects are independent of each other.
/// Phases: any: it knows no environment.
/// Gives back: deallocate takes back what allocate gave, with the same size; the pool's end takes
///     the rest.
class VakMemory {
 public:
  static constexpr long LargestSize = static_cast<long>(VakSizeClasses::LargestSize);  ///< Bytes.
  static constexpr long ClassCount = VakSizeClasses::Count;  ///< Number of size classes.

  /// A stretch of elements taken from the pool, of which nothing is linked yet.
  struct Block {
    void* start;  ///< First element, aligned to 64.
    long count;   ///< Number of elements, at least 1.
  };

  /// Makes a pool without memory; classes are pooled if `useMemoryManager` is not 0. Asks the heap
  /// for nothing.
  explicit VakMemory(long useMemoryManager) noexcept;
  VakMemory(const VakMemory&) = delete;
  VakMemory& operator=(const VakMemory&) = delete;

  /// Releases all memory at once, whether given back or not.
  ~VakMemory();

  /// Returns the index of the class that serves `size` bytes, the smallest whose elements hold
  /// them; a size of 0 gives the class of the smallest elements. Constant time. Throws
  /// `std::bad_alloc` when `size` is negative or above `LargestSize`.
  static constexpr long getIndex(long size) {
    const auto bytes = static_cast<unsigned long>(size);
    if (bytes <= VakSizeClasses::LargestTableSize) return VakSizeClassOfWords[(bytes + 7) / 8];
    if (bytes > VakSizeClasses::LargestSize) [[unlikely]]
      ThrowTooLarge();
    return VakSizeClasses::GetGeometricIndex(bytes);
  }

  /// Returns the bytes of an element of the class at `index` (0 to `ClassCount` - 1).
  static constexpr long getElementSize(long index) { return VakSizeClasses::GetElementSize(index); }

  /// Returns `size` bytes of the class that serves them, null for a size of 0. The class counts its
  /// element size as in use. Throws `std::bad_alloc`, having changed nothing. With a size known at
  /// compile time this is a free-list pop.
  [[nodiscard]] void* allocate(unsigned long size) {
    if (size == 0) return nullptr;
    const long index = getIndex(static_cast<long>(size));
    VakFixedSizeAllocatorI& sizeClass = _classes[index]._allocator;
    void* element = sizeClass.allocate(this, ElementSizeOf(sizeClass, index));
    if constexpr (VakChecksMemory) VakMemoryLedger::Narrow(element, static_cast<long>(size));
    if constexpr (VakPoisonsMemory) {
      VakPoison(static_cast<char*>(element) + size,
                static_cast<unsigned long>(sizeClass._elementSize) - size);
    }
    return element;
  }

  /// Gives back what `allocate` returned for the same size; `element` is not null. A size of 0 is
  /// not filtered out: it names the class of the smallest elements.
  void deallocate(void* element, unsigned long size) {
    if constexpr (VakChecksMemory) {
      if (!VakMemoryLedger::MayGiveBack(this, element, static_cast<long>(size))) return;
    }
    const long index = getIndex(static_cast<long>(size));
    VakFixedSizeAllocatorI& sizeClass = _classes[index]._allocator;
    sizeClass.deallocate(element, ElementSizeOf(sizeClass, index));
  }

  /// Returns the bytes in use in all classes. Costs one pass over the classes.
  [[nodiscard]] long getMemoryUsage() const;

  /// Returns the bytes obtained from the heap: regions, and elements that are not pooled.
  [[nodiscard]] long getTotalMemoryUsage() const;

  /// Returns the largest number of bytes that were in use, by the classes and the companion, when
  /// the pool asked the heap for more memory or now: at least so many were in use at once. The
  /// bytes obtained bound it from above. Without pooling only what is in use now is known.
  [[nodiscard]] long getHighWater() const;

  /// Takes memory for elements of `elementSize` bytes (a multiple of 8) and lets the next block of
  /// the class that serves them be larger. The block is counted for `taker` if that is a class of
  /// this pool or its companion. Throws `std::bad_alloc`, having changed nothing.
  [[nodiscard]] Block obtainBlock(long elementSize, const VakFixedSizeAllocatorI* taker = nullptr);

  /// Counts the blocks of `companion`, an allocator beside the classes, from now on, so that its
  /// free list can be proved as those of the classes are. There is one at most; it must not have
  /// taken any block yet.
  void countFor(const VakFixedSizeAllocatorI* companion) { _companion = companion; }

  /// Returns an empty text if the invariants of the pool, of all its classes and of `others`, which
  /// draw their blocks from it, hold; else what is broken. Whoever exchanges elements that are not
  /// pooled with the classes must be among `others`. Costs what a VakMemoryInspection costs.
  [[nodiscard]] std::string check(
      std::initializer_list<const VakFixedSizeAllocatorI*> others = {}) const;

  /// What an allocator obtained in blocks. Blocks stay until the pool ends, and a new one comes
  /// only when every element is in use, so at that time `_elements` - `_lastBlock` elements were.
  struct Growth {
    long _elements = 0;                  ///< Elements of all blocks.
    unsigned _blocks = 0;                ///< Blocks, or regions of one large element.
    unsigned short _lastBlock = 0;       ///< Elements of the newest block.
    unsigned short _nextBlockBytes = 0;  ///< Upper bound of the next block of small elements.
  };

  /// What the class at `index` obtained.
  [[nodiscard]] const Growth& getGrowth(long index) const { return _classes[index]._growth; }
  /// What the companion obtained; the bound of its next block is that of the class of its size.
  [[nodiscard]] const Growth& getCompanionGrowth() const { return _companionGrowth; }

 private:
  /// A size class and the growth of its blocks, 64 bytes so that the words of the usual path of one
  /// class lie together and an index is scaled by a shift.
  struct alignas(16) SizeClass {
    VakFixedSizeAllocatorI _allocator{8};
    Growth _growth;
  };
  static_assert(sizeof(SizeClass) == 64);

  /// Heads every region. Elements start at the next multiple of 64.
  struct Region {
    Region* _next;         ///< The region obtained before this one; null at the first.
    unsigned long _bytes;  ///< Bytes of the region, this header included.
  };

  /// Returns the element size of a class: by its index if that is known at compile time, for adding
  /// a constant to a count makes taking and giving back several times faster than adding what had
  /// to be read.
  static long ElementSizeOf(const VakFixedSizeAllocatorI& sizeClass, long index) {
    return __builtin_constant_p(index) ? getElementSize(index) : sizeClass._elementSize;
  }

  [[noreturn, gnu::cold]] static void ThrowTooLarge();
  static char* FirstElement(Region* region);

  Block carveBlock(long elementSize);
  Growth* growthOf(const VakFixedSizeAllocatorI* taker, long elementSize);
  Region* obtainRegion(unsigned long bytes);
  [[nodiscard]] long getUsageWithCompanion() const;
  void obtainSlab();

 public:
  /// The classes by index, as `getIndex` gives it; they point into this object.
  VakFixedSizeAllocatorI* _allocators[ClassCount];

 private:
  friend class VakMemoryInspection;  // Reads everything below in order to prove it.

  SizeClass _classes[ClassCount];  ///< The classes by index.
  Region* _regions = nullptr;      ///< Owned; newest region, null before the first.
  char* _slabCursor = nullptr;     ///< Start of what is left of the newest slab, a multiple of 64.
  char* _slabEnd = nullptr;        ///< End of the newest slab, a multiple of 64.
  unsigned long _nextSlabBytes;    ///< Bytes of the slab that is obtained next.
  long _bytesObtained = 0;         ///< Bytes of all regions.
  const VakFixedSizeAllocatorI* _companion = nullptr;  ///< Counted beside the classes; not owned.
  Growth _companionGrowth;                             ///< What the companion obtained.
  long _highWater = 0;  ///< Most bytes in use when a region was obtained.
};
