#pragma once

// One size class of the block memory pool: a free list of elements of one size, with the counts
// that memory usage is made of. The pool (`VakMemory`) embeds one for each of its classes; the
// environment keeps one of its own for expression terms. All draw their blocks from the pool.

#include <cstring>

#include "vakbase/allocation_list.h"
#include "vakbase/memory_ledger.h"
#include "vakbase/poison.h"

class VakMemory;

/// Hands out and takes back elements of one size.
///
/// Pooled, elements come from blocks of the pool and are kept in a free list whose links are the
/// first words of the free elements; the blocks belong to the pool, so elements may be given back
/// to any other allocator of the same element size over the same pool, and this allocator may be
/// destroyed while its elements live. Not pooled, every element is a heap block taken from the
/// allocation list, and the elements that are outstanding in this allocator's list end with it.
/// Whoever changes `_pooled` does so before the first element is taken. Not safe for concurrent
/// use.
///
/// Invariant, which `VakMemory::check` proves: a free list only ever exists in a pooled allocator
/// (`_pooled != 0 || _free == nullptr`) and holds elements of `_elementSize` bytes; `_bytesInUse`
/// is the element size times the difference of elements taken here and given back here, so it is
/// negative after taking back others' elements.
///
/// Threads: confined to one thread at a time; several objects are independent of each other.
/// Phases: any, while the pool it draws blocks from lives.
/// Gives back: deallocate takes back what allocate gave; blocks end with the pool.
class VakFixedSizeAllocatorI {
 public:
  /// Makes a pooled allocator without elements. `elementSize` is rounded up to whole words, since a
  /// free element holds a link; elements of a multiple of 16 bytes are aligned to 16, others to 8.
  explicit VakFixedSizeAllocatorI(long elementSize) noexcept
      : _elementSize(elementSize <= 8 ? 8 : (elementSize + 7) / 8 * 8) {}
  VakFixedSizeAllocatorI(const VakFixedSizeAllocatorI&) = delete;
  VakFixedSizeAllocatorI& operator=(const VakFixedSizeAllocatorI&) = delete;

  /// Deletes the allocation list and with it what is outstanding there; blocks stay with the pool.
  ~VakFixedSizeAllocatorI() { delete _list; }

  /// Returns an element and counts it. Throws `std::bad_alloc`, having counted nothing. Constant
  /// time: a free-list pop, unless the list is empty.
  [[nodiscard]] void* allocate(VakMemory* memory) { return allocate(memory, _elementSize); }

  /// Takes back an element (not null) of this size and subtracts what `allocate` had added.
  /// Constant time. The element may come from another allocator of the same element size and mode
  /// over the same pool.
  void deallocate(void* element) { deallocate(element, _elementSize); }

  /// Does the same for a caller who knows the element size of this allocator.
  [[nodiscard]] void* allocate(VakMemory* memory, long elementSize) {
    if constexpr (VakChecksMemory) return allocateChecked(memory);
    void* element = _free;
    if (element == nullptr) [[unlikely]]
      return allocateSlow(memory);
    VakUnpoison(element, static_cast<unsigned long>(elementSize));
    _free = LoadLink(element);
    _bytesInUse += elementSize;
    return element;
  }

  /// Does the same for a caller who knows the element size of this allocator.
  void deallocate(void* element, long elementSize) {
    if constexpr (VakChecksMemory) {
      if (!VakMemoryLedger::GiveBack(element, elementSize, _free)) return;
    }
    if (_pooled == 0) [[unlikely]] {
      deallocateToList(element);
      return;
    }
    push(element);
    _bytesInUse -= elementSize;
  }

  /// Obtains a new block from `memory`, links all elements but the first into the free list in the
  /// order of their addresses, and returns the first. Counts nothing. Throws `std::bad_alloc`,
  /// having changed nothing.
  [[nodiscard]] void* allocateBlock(VakMemory* memory);

  /// Reads the link in the first word of a free element. Links are copied as bytes because the same
  /// memory held, and will hold, objects of other types.
  static void* LoadLink(const void* element) {
    void* next;
    std::memcpy(&next, element, sizeof(next));
    return next;
  }

  /// Writes the link in the first word of a free element.
  static void StoreLink(void* element, void* next) { std::memcpy(element, &next, sizeof(next)); }

  long _pooled = 1;       ///< Not 0: elements come from blocks; 0: each is a heap block of its own.
  long _elementSize;      ///< Bytes of an element, a multiple of 8.
  void* _free = nullptr;  ///< First free element, owned by the pool; null when there is none.
  long _bytesInUse = 0;   ///< Bytes of the elements taken here less those given back here.
  long _bytesObtained = 0;  ///< The part of `_bytesInUse` that went through the allocation list.
  VakAllocationList* _list = nullptr;  ///< Owned; null until the first element that is not pooled.

 private:
  /// Puts an element at the head of the free list. Giving an element back twice is reported by the
  /// address sanitizer.
  void push(void* element) {
    VakTouch(element);
    VakUnpoison(element, sizeof(void*));
    StoreLink(element, _free);
    VakPoison(element, static_cast<unsigned long>(_elementSize));
    _free = element;
  }

  void* allocateChecked(VakMemory* memory);
  [[gnu::cold, gnu::noinline]] void* allocateSlow(VakMemory* memory);
  [[gnu::cold, gnu::noinline]] void deallocateToList(void* element);
};

static_assert(sizeof(VakFixedSizeAllocatorI) == 48, "other modules rely on the six words");
