#pragma once

// Making objects in the memory to which their operator delete will return them.
//
//   VakCreate<MyObject>(manager, 1, 2)   constructs MyObject(manager, 1, 2) in manager's memory.
//
// The owner is passed on as the first argument of the constructor, so that an object cannot be
// told to give its memory back anywhere but where it came from. If the constructor throws, the
// block goes back and the exception passes on. The environment's counterpart stands in
// vakenv/core/create.h.

#include <new>
#include <typeinfo>
#include <utility>

#include "vakbase/memory_ledger.h"
#include "vakenv/memory/gen_alloc.h"
#include "vakenv/memory/memory_manager.h"

/// Takes `size` bytes from `memory` (anything with `take` and `giveBack`) and constructs a T from
/// `args` in them; gives the bytes back if the construction throws.
/// Threads: confined, as the memory is. Phases: any, as long as the memory serves.
/// Gives back: `delete`.
template <class T, class Memory, class... Args>
[[nodiscard]] T* VakConstructIn(Memory memory, Args&&... args) {
  static_assert(alignof(T) <= 16, "the library's memory is aligned to 16 bytes at most");
  void* block = memory.take(sizeof(T));
  try {
    T* object = ::new (block) T(std::forward<Args>(args)...);
    if constexpr (VakChecksMemory) VakMemoryLedger::Name(block, typeid(T));
    return object;
  } catch (...) {
    memory.giveBack(block, sizeof(T));
    throw;
  }
}

/// Memory of an allocator, as VakConstructIn wants it.
///
/// Threads: confined, as the memory it names, or thread safe in thread-safe mode.
/// Phases: open.
/// Gives back: giveBack takes back what take gave, with the same size.
struct VakManagerMemory {
  VakGenAlloc* allocator;  ///< Not owned, never null.
  /// Takes memory from the manager, and gives it back.
  [[nodiscard]] void* take(unsigned long size) const { return allocator->alloc(size); }
  void giveBack(void* p, unsigned long size) const { allocator->free(p, size); }
};

/// A new T in the memory of `allocator`, constructed from (`allocator`, `args`...). Deleted with
/// `delete`. Throws std::bad_alloc and whatever the constructor throws.
/// Gives back: `delete`.
template <class T, class... Args>
[[nodiscard]] T* VakCreate(VakGenAlloc* allocator, Args&&... args) {
  return VakConstructIn<T>(VakManagerMemory{allocator}, allocator, std::forward<Args>(args)...);
}

/// The same for the handle of a memory manager.
/// Gives back: `delete`.
template <class T, class... Args>
[[nodiscard]] T* VakCreate(VakMemoryManager manager, Args&&... args) {
  return VakCreate<T>(manager.getImpl(), std::forward<Args>(args)...);
}
