#pragma once

// Stamps of extractables that are referred to by references which notice their end.
//
// The first reference to an extractable gives it a stamp, a number that is used once in the
// process; the end of its registration takes the stamp away. So a reference that knows identifier
// and stamp tells whether its object is still the one registered there. Stamps lie beside the
// identifier table, which has one pointer per slot and nothing else; an environment without such
// references keeps none and pays for one test when a registration ends.
//
//   VakReferenceTable ---> directory ---> lists of pages ---> pages of stamps
//
// Nothing moves when the table grows, so that stamps are read and dropped without a lock while
// other threads, in thread-safe mode, register and unregister objects.

#include <atomic>
#include <cstdint>

#include "vakbase/numbers.h"

/// The stamps of one environment by identifier. A trailing member of the environment; its memory is
/// the general heap's: per 512 identifiers of which one is referred to, 4 KiB.
///
/// Threads: thread safe for make, find and drop; end() while no other thread uses the table.
/// Phases: open.
/// Gives back: drop() takes back make(); end() takes the rest.
class VakReferenceTable {
 public:
  using Stamp = std::uint64_t;  ///< 0 stands for none.

  VakReferenceTable() = default;
  ~VakReferenceTable() { end(); }
  VakReferenceTable(const VakReferenceTable&) = delete;
  VakReferenceTable& operator=(const VakReferenceTable&) = delete;

  /// The stamp at `id`, which is given a new one if it has none. Throws std::bad_alloc, and there
  /// is none then. Constant time.
  [[nodiscard]] Stamp make(VakInt id);
  /// The stamp at `id`, or 0. Constant time.
  [[nodiscard]] Stamp find(VakInt id) const noexcept;
  /// Takes the stamp at `id` away. Constant time.
  void drop(VakInt id) noexcept {
    if (_directory.load(std::memory_order_acquire) != nullptr) [[unlikely]]
      dropStamp(id);
  }
  /// Takes all stamps away and gives the memory back. While no other thread uses the table.
  void end() noexcept;

 private:
  using Slot = std::atomic<Stamp>;
  using Page = std::atomic<Slot*>;   // null until a stamp in it is made
  using Pages = std::atomic<Page*>;  // null until a page in it is made

  [[nodiscard]] Slot* slotOf(VakInt id) const noexcept;
  [[nodiscard]] Slot* makeSlot(VakInt id);
  void dropStamp(VakInt id) noexcept;

  std::atomic<Pages*> _directory = nullptr;  ///< Null until the first stamp is made.
};
