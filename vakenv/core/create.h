#pragma once

// Making objects in an environment's memory: the counterpart of vakenv/memory/create.h.

#include <type_traits>
#include <utility>

#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/create.h"
#include "vakenv/memory/env.h"
#include "vakenv/memory/tarn_alloc.h"
#include "vakenv/types/exceptions.h"

/// Memory of an environment, as VakConstructIn wants it. With a size known at compile time taking
/// is a free-list pop.
///
/// Threads: confined, as the memory it names, or thread safe in thread-safe mode.
/// Phases: open.
/// Gives back: giveBack takes back what take gave, with the same size.
struct VakEnvMemory {
  VakEnvI* env;  ///< Not owned, never null.
  /// Takes memory from the environment, and gives it back.
  [[nodiscard]] void* take(unsigned long size) const { return env->allocate(size); }
  void giveBack(void* p, unsigned long size) const { env->giveBack(p, size); }
};

/// A new T in the memory of `env`. The constructor's first argument is `env`, or the environment's
/// allocator for a class that holds a memory manager. Deleted with `delete`, or with the
/// environment if it registers itself there, which is why the result may be ignored. Throws
/// std::bad_alloc and whatever the constructor throws.
/// Gives back: `delete`, or the environment's end.
template <class T, class... Args>
T* VakCreate(VakEnvI* env, Args&&... args) {
  if constexpr (std::is_constructible_v<T, VakEnvI*, Args...>) {
    return VakConstructIn<T>(VakEnvMemory{env}, env, std::forward<Args>(args)...);
  } else {
    return VakCreate<T>(static_cast<VakGenAlloc*>(env->_allocator), std::forward<Args>(args)...);
  }
}

/// The same for a handle; an empty one throws VakEmptyHandleException "VakEnv: Using empty handle".
/// Gives back: `delete`, or the environment's end.
template <class T, class... Args>
T* VakCreate(VakEnv env, Args&&... args) {
  if (env.getImpl() == nullptr) throw VakEmptyHandleException("VakEnv: Using empty handle");
  return VakCreate<T>(env.getImpl(), std::forward<Args>(args)...);
}
