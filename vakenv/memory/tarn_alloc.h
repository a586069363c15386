#pragma once

// The allocator that every environment owns.

#include "vakenv/fwd.h"
#include "vakenv/memory/gen_alloc.h"

/// The environment's own allocator: a view of the environment's allocation path.
///
/// Made by the environment's constructor, deleted near its end; owns nothing itself. Constant time:
/// a free-list pop or push. Safe for several threads only while thread-safe allocation is on.
///
/// Threads: confined; thread safe in thread-safe mode.
/// Phases: open, until step 15 of the end.
/// Gives back: free takes back what alloc gave, with the same size.
class VakTarnAlloc : public VakGenAlloc {
  VAK_RTTI(VakTarnAlloc, VakGenAlloc);

  explicit VakTarnAlloc(VakEnvI* environment);
  ~VakTarnAlloc() noexcept(false) override;

  /// Through the local environment when one is installed; else null for 0, or an element of the
  /// size class of `size`. Throws std::bad_alloc and changes nothing when memory runs out.
  [[nodiscard]] void* alloc(unsigned long size) const override;
  /// Ignores a null pointer and a zero size before anything else.
  void free(void* p, unsigned long size) const override;
  /// Does nothing.
  void saveValue(void** address) const override;
  void saveValue(long* address) const override;
  void saveValue(double* address) const override;
  /// The environment's intern().
  [[nodiscard]] const char* intern(const char* text) const override;

  VakEnvI* env;  ///< The environment that owns this allocator; not owned, never null.
};
