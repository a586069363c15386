#pragma once

// The memory resource of std::pmr containers whose elements lie in an environment.

#include <cstddef>
#include <memory_resource>

#include "vakenv/memory/env.h"
#include "vakenv/memory/std_memory.h"

/// Serves a memory manager as a memory resource, for any alignment; see
/// vakenv/memory/std_memory.h for what holds of containers and environments.
///
/// It takes no memory itself, and two of them on one manager are equal. It must outlive the
/// containers that were given its address. A moved or swapped std::pmr container keeps its
/// resource, as the standard says.
///
/// Threads: confined, as the memory manager is; thread safe in thread-safe mode.
/// Phases: open; giving back after the environment's end is noticed: builds with assertions stop
///     there, others ignore it.
/// Gives back: deallocate takes back what allocate gave, with the same size and alignment.
class VakMemoryResource final : public std::pmr::memory_resource {
 public:
  /// Throws VakEmptyHandleException ("VakMemoryManager: Using empty handle") for an empty manager,
  /// std::bad_alloc.
  explicit VakMemoryResource(VakMemoryManager manager);
  /// Throws VakEmptyHandleException ("VakEnv: Using empty handle") for an empty handle,
  /// std::bad_alloc.
  explicit VakMemoryResource(VakEnv env);
  ~VakMemoryResource() override;

  /// Whose memory this is.
  [[nodiscard]] VakMemoryManager getMemoryManager() const { return _memory.getMemoryManager(); }

 private:
  void* do_allocate(std::size_t bytes, std::size_t alignment) override;
  void do_deallocate(void* p, std::size_t bytes, std::size_t alignment) override;
  [[nodiscard]] bool do_is_equal(const std::pmr::memory_resource& other) const noexcept override;

  VakStdMemory _memory;
};
