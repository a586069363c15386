#pragma once

// An environment's allocation path for code below the environment in the layers, which knows the
// environment by name only. Whoever sees the environment itself uses its inline members instead.

#include "vakenv/fwd.h"

/// `size` bytes of the environment's memory: through its local environment when one is installed,
/// else from the size class; null for 0. Throws std::bad_alloc.
/// Gives back: VakFreeIn.
[[nodiscard]] void* VakAllocateIn(VakEnvI* env, unsigned long size);

/// Gives back what VakAllocateIn returned for the same `size`; null and 0 are ignored.
void VakFreeIn(VakEnvI* env, void* p, unsigned long size);

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
