#pragma once

// Destroyables: objects that an environment deletes when it ends, unless the user did so before.
//
//   VakDestroyableList ---> Element <---> Element ...     newest first, in the environment's memory
//          \---> table: from object to its element        on the general heap

#include <mutex>
#include <string>

#include "vakenv/fwd.h"
#include "vakenv/memory/env_object.h"
#include "vakenv/tables/hash_table.h"

/// An object that its environment deletes when it ends.
///
/// Made with VakCreate. It enters the list of its environment when it is constructed, and leaves it
/// when it is destroyed. Deliberate: an object made while a local environment is installed, as in
/// thread-safe mode, is not listed, and the environment does not delete it;
/// VakEnvI::getUnlistedDestroyables counts such objects.
///
/// Threads: confined; in thread-safe mode several threads may make and delete their own.
/// Phases: open; its destructor may run in step 2 of the end.
/// Gives back: `delete` or the environment's end; one made in thread-safe mode by `delete` alone.
class VakDestroyableI : public VakRttiEnvObjectI {
  VAK_RTTI(VakDestroyableI, VakRttiEnvObjectI);

  /// Throws what VakEnvI::addDestroyable throws; the object is not listed then.
  explicit VakDestroyableI(VakEnvI* env);
  /// Takes the object off the list, in every mode; one that is not listed is simply not found.
  ~VakDestroyableI() noexcept(false) override;
};

/// The live destroyables of one environment.
///
/// Made and deleted by the environment. While a local environment is installed, every operation but
/// destroyAll() runs under a lock of the list's own, never the environment's mutex.
///
/// Invariant, which check() proves: an object is in the list at most once, and exactly when it is a
/// key of the table, whose value is its element.
///
/// Threads: thread safe while a local environment is installed, except for destroyAll(); else
///     confined.
/// Phases: open, until step 2 of the end is over.
/// Gives back: removal takes back adding; destroyAll() deletes what is listed.
class VakDestroyableList {
 public:
  /// The place of one object in the list.
  struct Element {
    VakDestroyableI* destroyable;  ///< The object; never null.
    Element* prev;                 ///< The newer neighbour; null for the first element.
    Element* next;                 ///< The older neighbour; null for the last element.
  };

  /// An empty list. Throws VakMemoryException.
  explicit VakDestroyableList(VakEnvI* env);
  /// Gives the elements and the table back; what is still listed is not deleted.
  ~VakDestroyableList();
  VakDestroyableList(const VakDestroyableList&) = delete;
  VakDestroyableList& operator=(const VakDestroyableList&) = delete;

  /// Enters `d` in front; nothing when it is listed. Throws std::bad_alloc, VakMemoryException and,
  /// for a broken hash function, VakWrongUsage; `d` is not listed then.
  void add(VakDestroyableI* d);
  /// Takes `d` out and tells whether it was listed. Throws VakWrongUsage as add().
  bool remove(VakDestroyableI* d);
  /// True when `d` is listed.
  [[nodiscard]] bool has(VakDestroyableI* d) const;
  /// Number of listed objects.
  [[nodiscard]] VakInt getSize() const;

  /// Deletes all objects, newest first; each takes itself out, and may delete or make others. When
  /// a destructor throws, its object has left the list and another call goes on with the rest.
  void destroyAll();

  /// An empty text if the invariant holds and, with `pool`, neither elements nor objects are free
  /// memory, else what is broken.
  [[nodiscard]] std::string check(const VakMemoryInspection* pool = nullptr) const;

  /// The address, shifted right by 5 bits, masked with `size` - 1: `size` is a power of two.
  static VakInt HashPointer(VakDestroyableI* p, VakInt size);
  /// 1 for the same address, else 0.
  static VakInt ComparePointers(VakDestroyableI* a, VakDestroyableI* b);

  VakEnvI* env;    ///< Its memory holds the elements; not owned.
  Element* first;  ///< The newest element; null when the list is empty.
  VakHashTable<VakDestroyableI*, Element*> table;  ///< From object to element.

 private:
  [[nodiscard]] std::unique_lock<std::mutex> guard() const;
};
