#pragma once

// Objects that give their memory back to the memory manager they hold, with their size.
//
// VakMemoryManagerObjectI is the plain form, VakRttiMemoryManagerObjectI the one that takes part in
// the library's type system. Such objects are made with VakCreate and deleted with `delete`; they
// may also live on the stack or inside another object.
//
// Deletion reads the owner before the destructor runs, because a compiler may drop every store to
// an object that is about to be destroyed; that is why the deletion that `delete` uses is a
// destroying one. An exception out of a destructor leaves the storage alone.

#include <cstddef>
#include <new>

#include "vakenv/fwd.h"
#include "vakenv/memory/memory_manager.h"
#include "vakenv/types/rtti.h"

/// Holds its memory manager and gives its memory back to it when deleted.
///
/// Threads: confined, as the environment or memory manager it lives in is.
/// Phases: open; a manager of no environment must live as long.
/// Gives back: `delete` gives back what VakCreate took; the environment's end takes what is left,
///     without a destructor where memory is pooled.
class VakMemoryManagerObjectI {
 public:
  explicit VakMemoryManagerObjectI(VakMemoryManager manager);
  virtual ~VakMemoryManagerObjectI() noexcept(false);

  VakMemoryManagerObjectI(const VakMemoryManagerObjectI&) = delete;
  VakMemoryManagerObjectI& operator=(const VakMemoryManagerObjectI&) = delete;

  /// The environment of the memory manager; throws VakEnv::IncompatibleMemoryManagerException
  /// ("Incompatible memory manager") when the memory manager belongs to none.
  [[nodiscard]] VakEnv getEnv() const;

  // Such objects come from VakCreate; only placement is left to it.
  static void* operator new(std::size_t) = delete;
  static void* operator new[](std::size_t) = delete;
  static void* operator new(std::size_t, void* place) noexcept { return place; }
  static void operator delete(void*, void*) noexcept {}

  /// What `delete` does: reads the owner, destroys the whole object, gives `size` bytes back.
  static void operator delete(VakMemoryManagerObjectI* object, std::destroying_delete_t,
                              std::size_t size) noexcept(false);
  /// Gives back the storage of an object that is already destroyed;
  /// the memory manager read from `p` is not tested for null.
  static void operator delete(void* p, unsigned long size) noexcept(false);

  VakGenAlloc* _memoryManager;  ///< Takes the object's memory back; not owned.
};

/// The same within the type system.
///
/// Threads: confined, as the environment or memory manager it lives in is.
/// Phases: open; a manager of no environment must live as long.
/// Gives back: `delete` gives back what VakCreate took; the environment's end takes what is left,
///     without a destructor where memory is pooled.
class VakRttiMemoryManagerObjectI : public VakRtti {
  VAK_RTTI_BELOW_ROOT(VakRttiMemoryManagerObjectI);

  explicit VakRttiMemoryManagerObjectI(VakMemoryManager manager);
  ~VakRttiMemoryManagerObjectI() noexcept(false) override;

  VakRttiMemoryManagerObjectI(const VakRttiMemoryManagerObjectI&) = delete;
  VakRttiMemoryManagerObjectI& operator=(const VakRttiMemoryManagerObjectI&) = delete;

  /// The environment of the memory manager; throws VakEnv::IncompatibleMemoryManagerException
  /// ("Incompatible memory manager") when the memory manager belongs to none.
  [[nodiscard]] VakEnv getEnv() const;

  // Such objects come from VakCreate; only placement is left to it.
  static void* operator new(std::size_t) = delete;
  static void* operator new[](std::size_t) = delete;
  static void* operator new(std::size_t, void* place) noexcept { return place; }
  static void operator delete(void*, void*) noexcept {}

  /// What `delete` does: reads the owner, destroys the whole object, gives `size` bytes back.
  static void operator delete(VakRttiMemoryManagerObjectI* object, std::destroying_delete_t,
                              std::size_t size) noexcept(false);
  /// Gives back the storage of an object that is already destroyed;
  /// frees nothing if the memory manager read from `p` is null.
  static void operator delete(void* p, unsigned long size) noexcept(false);

  VakGenAlloc* _memoryManager;  ///< Takes the object's memory back; not owned.
};
