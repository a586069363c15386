#pragma once

// The allocator of standard containers whose elements lie in an environment.
//
//   VakVector<double> costs(env);
//   std::map<int, VakNumVar, std::less<int>, VakStdAllocator<std::pair<const int, VakNumVar>>>
//       byPeriod{VakStdAllocator<std::pair<const int, VakNumVar>>(env)};

#include <cstddef>
#include <limits>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

#include "vakenv/memory/env.h"
#include "vakenv/memory/std_memory.h"

/// Allocates elements of type T, of any alignment, from a memory manager; see
/// vakenv/memory/std_memory.h for what holds of containers and environments.
///
/// A container that is copied stays in the memory of the original; one that is moved from or
/// swapped hands its memory manager over with its elements, so that neither moves an element.
/// Assigning a copy keeps the memory manager of the target.
///
/// Threads: confined, as the memory manager is; thread safe in thread-safe mode.
/// Phases: open; giving back after the environment's end is noticed: builds with assertions stop
///     there, others ignore it.
/// Gives back: deallocate takes back what allocate gave, with the same size and alignment.
template <class T>
class VakStdAllocator {
 public:
  using value_type = T;
  using propagate_on_container_copy_assignment = std::false_type;
  using propagate_on_container_move_assignment = std::true_type;
  using propagate_on_container_swap = std::true_type;
  using is_always_equal = std::false_type;

  // Implicit on purpose: a container takes an environment where it takes an allocator.

  /// Throws VakEmptyHandleException ("VakMemoryManager: Using empty handle") for an empty manager,
  /// std::bad_alloc.
  VakStdAllocator(VakMemoryManager manager) : _memory(manager) {}
  /// Throws VakEmptyHandleException ("VakEnv: Using empty handle") for an empty handle,
  /// std::bad_alloc.
  VakStdAllocator(VakEnv env) : _memory(env.getMemoryManager()) {}
  template <class U>
  VakStdAllocator(const VakStdAllocator<U>& other) noexcept : _memory(other.getMemory()) {}

  /// Room for `n` elements. Throws std::bad_array_new_length when no memory is that large,
  /// std::bad_alloc.
  [[nodiscard]] T* allocate(std::size_t n) {
    if (n > std::numeric_limits<std::ptrdiff_t>::max() / sizeof(T)) {
      throw std::bad_array_new_length();
    }
    return static_cast<T*>(_memory.allocate(n * sizeof(T), alignof(T)));
  }
  /// Gives back the room for `n` elements.
  void deallocate(T* p, std::size_t n) noexcept {
    _memory.deallocate(p, n * sizeof(T), alignof(T));
  }

  /// Whose memory this is.
  [[nodiscard]] VakMemoryManager getMemoryManager() const { return _memory.getMemoryManager(); }
  [[nodiscard]] const VakStdMemory& getMemory() const { return _memory; }
  /// Equal when memory of the one can be given back to the other.
  template <class U>
  friend bool operator==(const VakStdAllocator& a, const VakStdAllocator<U>& b) {
    return a.getMemory() == b.getMemory();
  }

 private:
  VakStdMemory _memory;
};

/// A vector in the memory of an environment.
template <class T>
using VakVector = std::vector<T, VakStdAllocator<T>>;
/// A text in the memory of an environment.
using VakString = std::basic_string<char, std::char_traits<char>, VakStdAllocator<char>>;
