#pragma once

// Memory of an environment for the containers of the standard library.
//
//   VakStdAllocator<T>    an allocator:        std::vector<double, VakStdAllocator<double>> v(env);
//   VakMemoryResource     a memory resource:   VakMemoryResource resource(env);
//                                              std::pmr::vector<double> v(&resource);
//
// Both work on any memory manager. A container must go before its environment, whose end releases
// all memory at once. One that does not has lost its elements, so it must not be touched; that it
// gives its memory back afterwards is noticed: builds with assertions stop there, others ignore it.
//
// Alignment: memory managers align to 16 bytes what is a multiple of 16, everything else to 8. So
// sizes are rounded up for types that are aligned to 16, and for types that need more, as much more
// is taken as it takes to find an aligned place.

#include <cstddef>

#include "vakenv/fwd.h"
#include "vakenv/memory/env_life.h"
#include "vakenv/memory/memory_manager.h"

/// A memory manager as the standard library wants it: memory of a size and an alignment. A plain
/// value, never an owner. The thread rule is that of the memory manager.
///
/// Threads: confined, as the memory manager is; thread safe in thread-safe mode.
/// Phases: open; giving back after the environment's end is noticed: builds with assertions stop
///     there, others ignore it.
/// Gives back: deallocate takes back what allocate gave, with the same size and alignment.
class VakStdMemory {
 public:
  /// Throws VakEmptyHandleException ("VakMemoryManager: Using empty handle") for an empty manager,
  /// std::bad_alloc.
  explicit VakStdMemory(VakMemoryManager manager);

  /// `bytes` bytes, aligned to `alignment`, a power of two; not null for 0 bytes either. Throws
  /// std::bad_alloc and changes nothing then.
  [[nodiscard]] void* allocate(std::size_t bytes, std::size_t alignment) const;
  /// Gives back what allocate() returned for the same `bytes` and `alignment`.
  void deallocate(void* p, std::size_t bytes, std::size_t alignment) const noexcept;

  /// Whose memory this is; not empty.
  [[nodiscard]] VakMemoryManager getMemoryManager() const { return _manager; }
  /// Equal when memory of the one can be given back to the other.
  friend bool operator==(const VakStdMemory& a, const VakStdMemory& b) = default;

 private:
  VakMemoryManager _manager;  ///< Not empty, not owned.
  VakEnvLife _life;           ///< Of the manager's environment; none if it has none.
};
