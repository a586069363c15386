#pragma once

// The abstract memory manager. Memory carries no header: whoever gives a block back says how many
// bytes were asked for when it was taken.

#include "vakenv/types/rtti.h"

/// Abstract allocator, handed around as a VakMemoryManager.
///
/// An environment owns one of class VakTarnAlloc; VakStackGenAlloc serves temporary work. Nobody
/// deletes an allocator but its owner, and an allocator owns none of the memory that it hands out
/// on behalf of an environment.
///
/// Threads: confined, unless the class derived from it says otherwise.
/// Phases: any, as long as what it takes memory from lives.
/// Gives back: free takes back what alloc gave, with the same size.
class VakGenAlloc : public VakRtti {
  VAK_RTTI_BELOW_ROOT(VakGenAlloc);

  ~VakGenAlloc() noexcept(false) override;

  /// Memory for `size` bytes; null for 0 in the allocators of this library. Throws std::bad_alloc.
  [[nodiscard]] virtual void* alloc(unsigned long size) const = 0;
  /// Gives back memory taken with the same `size`. A null pointer or a zero size is ignored.
  virtual void free(void* p, unsigned long size) const = 0;
  /// Remembers the word at this address for a later restoration; nothing in this library.
  virtual void saveValue(void** address) const = 0;
  virtual void saveValue(long* address) const = 0;
  virtual void saveValue(double* address) const = 0;
  /// The one stored copy of a text, so that equal texts give equal pointers; null for null.
  [[nodiscard]] virtual const char* intern(const char* text) const = 0;
};
