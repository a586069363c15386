#pragma once

// Chooses the memory mode of the environments that a test creates from then on. A test that calls
// none of these runs in the mode of its process, and has to pass in both.

#include <cstdlib>

/// The next environments pool their memory.
inline void VakUsePooledMemory() { unsetenv("VAK_NO_MEMORY_MANAGER"); }

/// The next environments take every element from the heap.
inline void VakUseUnpooledMemory() { setenv("VAK_NO_MEMORY_MANAGER", "1", 1); }

/// True when the next environments pool their memory.
[[nodiscard]] inline bool VakUsesPooledMemory() {
  return std::getenv("VAK_NO_MEMORY_MANAGER") == nullptr;
}
