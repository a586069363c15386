#pragma once

// An environment's allocation path for code below the environment in the layers, which knows the
// environment by name only. Whoever sees the environment itself uses its inline members instead.

#include "vakbase/memory.h"
#include "vakenv/fwd.h"

/// Where the two members that the allocation path needs stand in the record of the environment,
/// whose beginning is documented: its pool after two words, its local environment after one more.
///
/// Threads: thread safe: it holds constants.
/// Phases: any.
struct VakEnvMemoryPlace {
  static constexpr unsigned long Pool = 2 * sizeof(VakInt);                             ///< Bytes.
  static constexpr unsigned long LocalEnv = Pool + sizeof(VakMemory) + sizeof(VakInt);  ///< Bytes.
};

/// The pool of an environment that is known by name only.
[[nodiscard]] inline VakMemory& VakGetPool(VakEnvI* env) {
  return *reinterpret_cast<VakMemory*>(reinterpret_cast<char*>(env) + VakEnvMemoryPlace::Pool);
}

/// True when memory of the environment goes through a local environment.
[[nodiscard]] inline bool VakHasLocalEnv(VakEnvI* env) {
  return *reinterpret_cast<VakLocalEnvI**>(reinterpret_cast<char*>(env) +
                                           VakEnvMemoryPlace::LocalEnv) != nullptr;
}

/// What VakAllocateIn and VakFreeIn do while a local environment is installed.
/// Gives back: VakFreeLocally.
[[nodiscard]] void* VakAllocateLocally(VakEnvI* env, unsigned long size);
void VakFreeLocally(VakEnvI* env, void* p, unsigned long size);

/// `size` bytes of the environment's memory: through its local environment when one is installed,
/// else from the size class; null for 0. Throws std::bad_alloc. With a constant size this is a
/// free-list pop.
/// Gives back: VakFreeIn.
[[nodiscard]] inline void* VakAllocateIn(VakEnvI* env, unsigned long size) {
  if (VakHasLocalEnv(env)) [[unlikely]]
    return VakAllocateLocally(env, size);
  return VakGetPool(env).allocate(size);
}

/// Gives back what VakAllocateIn returned for the same `size`; null and 0 are ignored.
inline void VakFreeIn(VakEnvI* env, void* p, unsigned long size) {
  if (p == nullptr || size == 0) return;
  if (VakHasLocalEnv(env)) [[unlikely]] {
    VakFreeLocally(env, p, size);
  } else {
    VakGetPool(env).deallocate(p, size);
  }
}

/// Memory of an environment that is known by name only, as VakConstructIn wants it.
///
/// Threads: confined, as the memory it names, or thread safe in thread-safe mode.
/// Phases: open.
/// Gives back: giveBack takes back what take gave, with the same size.
struct VakNamedEnvMemory {
  VakEnvI* env;  ///< Not owned, never null.
  /// Takes memory from the environment, and gives it back.
  [[nodiscard]] void* take(unsigned long size) const { return VakAllocateIn(env, size); }
  void giveBack(void* p, unsigned long size) const { VakFreeIn(env, p, size); }
};
