#pragma once

// Objects that give their memory back to the environment they hold, with their size.
//
// VakEnvObjectI is the plain form, VakRttiEnvObjectI the one that takes part in the
// library's type system. Such objects are made with VakCreate and deleted with `delete`; they may
// also live on the stack or inside another object.
//
// Deletion reads the owner before the destructor runs, because a compiler may drop every store to
// an object that is about to be destroyed; that is why the deletion that `delete` uses is a
// destroying one. An exception out of a destructor leaves the storage alone.

#include <cstddef>
#include <new>

#include "vakenv/fwd.h"
#include "vakenv/types/rtti.h"

/// Holds its environment and gives its memory back to it when deleted.
///
/// Threads: confined, as the environment or memory manager it lives in is.
/// Phases: open; a manager of no environment must live as long.
/// Gives back: `delete` gives back what VakCreate took; the environment's end takes what is left,
///     without a destructor where memory is pooled.
class VakEnvObjectI {
 public:
  explicit VakEnvObjectI(VakEnvI* env);
  virtual ~VakEnvObjectI() noexcept(false);

  VakEnvObjectI(const VakEnvObjectI&) = delete;
  VakEnvObjectI& operator=(const VakEnvObjectI&) = delete;

  /// The environment's own allocator. The environment must not be null.
  [[nodiscard]] VakMemoryManager getMemoryManager() const;

  // Such objects come from VakCreate; only placement is left to it.
  static void* operator new(std::size_t) = delete;
  static void* operator new[](std::size_t) = delete;
  static void* operator new(std::size_t, void* place) noexcept { return place; }
  static void operator delete(void*, void*) noexcept {}

  /// What `delete` does: reads the owner, destroys the whole object, gives `size` bytes back.
  static void operator delete(VakEnvObjectI* object, std::destroying_delete_t,
                              std::size_t size) noexcept(false);
  /// Gives back the storage of an object that is already destroyed;
  /// frees nothing if the environment read from `p` is null.
  static void operator delete(void* p, unsigned long size) noexcept(false);

  VakEnvI* _env;  ///< Takes the object's memory back; not owned; null for none.
};

/// The same within the type system.
///
/// Threads: confined, as the environment or memory manager it lives in is.
/// Phases: open; a manager of no environment must live as long.
/// Gives back: `delete` gives back what VakCreate took; the environment's end takes what is left,
///     without a destructor where memory is pooled.
class VakRttiEnvObjectI : public VakRtti {
  VAK_RTTI_BELOW_ROOT(VakRttiEnvObjectI);

  explicit VakRttiEnvObjectI(VakEnvI* env) : _env(env) {}
  ~VakRttiEnvObjectI() noexcept(false) override;

  VakRttiEnvObjectI(const VakRttiEnvObjectI&) = delete;
  VakRttiEnvObjectI& operator=(const VakRttiEnvObjectI&) = delete;

  /// The environment's own allocator. The environment must not be null.
  [[nodiscard]] VakMemoryManager getMemoryManager() const;

  // Such objects come from VakCreate; only placement is left to it.
  static void* operator new(std::size_t) = delete;
  static void* operator new[](std::size_t) = delete;
  static void* operator new(std::size_t, void* place) noexcept { return place; }
  static void operator delete(void*, void*) noexcept {}

  /// What `delete` does: reads the owner, destroys the whole object, gives `size` bytes back.
  static void operator delete(VakRttiEnvObjectI* object, std::destroying_delete_t,
                              std::size_t size) noexcept(false);
  /// Gives back the storage of an object that is already destroyed;
  /// frees nothing if the environment read from `p` is null.
  static void operator delete(void* p, unsigned long size) noexcept(false);

  VakEnvI* _env;  ///< Takes the object's memory back; not owned; null for none.
};
