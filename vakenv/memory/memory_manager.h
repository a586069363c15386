#pragma once

// The handle of a memory manager, and the way from a memory manager to its environment.

#include <iosfwd>

#include "vakenv/fwd.h"

/// What `<<` writes for a handle that is empty.
inline constexpr char VakEmptyHandleText[] = "(empty)";

/// Handle of an allocator: one pointer, copied freely, never an owner; null when empty.
///
/// Threads: confined, as the allocator it holds is; the handle itself is a value.
/// Phases: any, as long as the allocator lives.
class VakMemoryManager {
 public:
  VakMemoryManager() = default;
  /// Implicit on purpose: whatever takes a memory manager takes an allocator. Null is allowed.
  VakMemoryManager(VakGenAlloc* impl) : _impl(impl) {}

  [[nodiscard]] VakGenAlloc* getImpl() const { return _impl; }

  /// Equal when both hold the same allocator.
  friend bool operator==(VakMemoryManager a, VakMemoryManager b) { return a._impl == b._impl; }

  VakGenAlloc* _impl = nullptr;  ///< The allocator, not owned; null when the handle is empty.
};

/// Writes the class of the allocator, as in "VakTarnAlloc".
std::ostream& operator<<(std::ostream& out, VakMemoryManager manager);

/// The environment whose own allocator `manager` is; null for every other allocator and for an
/// empty manager. Constant time.
[[nodiscard]] VakEnvI* VakGetEnv(VakMemoryManager manager);
