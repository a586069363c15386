#pragma once

// Integer identifiers of extractables.
//
// The manager's table has one slot per identifier and nothing else. A slot holds the extractable
// with that identifier, or a link to the next free slot: a value that lies within the table, at or
// after its first slot and before slot _capacity, is a link, and every other value - also null, and
// also -1, the mark of a hidden extractable - counts as occupied.
//
// The last slot of a freshly grown table links to itself and ends the free list. The growth test
// looks only at whether the head of the free list is the last slot. Deliberate: slots still chained
// behind that head are not carried into the new free list, and their old links are copied as they
// are; they then point into the old table, outside the new one, and read as occupied.

#include <string>
#include <vector>

#include "vakenv/fwd.h"

/// Slots of a fresh identifier table, which doubles whenever its last slot is handed out.
inline constexpr VakInt VakIdManagerSlots = 256;

/// Hands out small integers 0, 1, 2, ... and takes them back, last in, first out.
///
/// Owned by the environment; the table lives in the environment's pool. Constant time, doubling
/// apart. Invariant: 0 <= _size <= _capacity, and _free is a slot of the table while there is one.
///
/// Threads: confined; in thread-safe mode the local environment books under the mutex.
/// Phases: open, until step 8 of the end.
/// Gives back: releasing an identifier takes back booking it.
class VakIdManager {
 public:
  class Iterator;

  /// A manager with a table of 256 free slots. Throws std::bad_alloc.
  explicit VakIdManager(VakMemory* memory);
  VakIdManager(const VakIdManager&) = delete;
  VakIdManager& operator=(const VakIdManager&) = delete;

  /// Books an identifier and stores `e`, which may be null, in its slot. Throws std::bad_alloc when
  /// the table cannot grow; nothing is changed then.
  VakInt newId(VakExtractableI* e) {
    void** slot = _free;
    const VakInt id = slot - _data;
    if (_data == nullptr || id == _capacity - 1) [[unlikely]]
      return bookByGrowing(e);
    _free = static_cast<void**>(*slot);
    *slot = e;
    if (_size <= id) _size = id + 1;
    return id;
  }
  /// Releases an identifier, which must be booked: not checked. Identifiers outside the table are
  /// ignored, and so is everything after end().
  void freeId(VakInt id) {
    if (!isInTable(id)) [[unlikely]]
      return;
    void** slot = _data + id;
    *slot = _free;
    _free = slot;
    if (id == _size - 1) --_size;
  }
  /// Bytes of the table; 0 after end().
  [[nodiscard]] VakInt getMemoryUsage() const;
  /// Gives the table back to the pool. Deliberate: the counters are left as they are. A later newId
  /// starts anew.
  void end();

  /// True when `id` is a slot of the table.
  [[nodiscard]] bool isInTable(VakInt id) const {
    return _data != nullptr &&
           static_cast<unsigned long>(id) < static_cast<unsigned long>(_capacity);
  }
  /// True when the value of a slot is a free-list link. There must be a table.
  [[nodiscard]] bool isLink(const void* value) const {
    const auto offset =
        reinterpret_cast<unsigned long>(value) - reinterpret_cast<unsigned long>(_data);
    return offset < static_cast<unsigned long>(_capacity) * sizeof(void*);
  }
  /// True when slot `id`, which must be in the table, holds an extractable: neither a link nor null
  /// nor the mark of a hidden one.
  [[nodiscard]] bool isLive(VakInt id) const {
    const void* value = _data[id];
    return !isLink(value) && value != nullptr && value != HiddenMark();
  }
  /// True when slot `id`, which must be in the table, holds the mark of a hidden extractable.
  [[nodiscard]] bool isHidden(VakInt id) const { return _data[id] == HiddenMark(); }
  /// The value -1, which marks an extractable as hidden while a removal runs.
  [[nodiscard]] static void* HiddenMark() { return reinterpret_cast<void*>(-1L); }

  /// An empty text if the free list runs through distinct slots of the table and ends at its last
  /// one, every slot that holds a link is in it, and so is every slot from _size on; else what is
  /// broken. A list from which the growth test dropped slots passes. Costs time and memory, from
  /// the general heap, in the number of slots.
  [[nodiscard]] std::string check() const;

  VakMemory* _memory;  ///< Pool of the table; not owned.
  VakInt _size;        ///< One more than the highest identifier in use and not released at the top.
  VakInt _capacity;    ///< Number of slots; kept after end().
  void** _data;        ///< The slots; null after end().
  void** _free;        ///< Head of the free list; null after end().

 private:
  // Books where there is no table yet, or where it ends.
  [[gnu::cold, gnu::noinline]] VakInt bookByGrowing(VakExtractableI* e);
  void startAnew();
  void growData(VakInt newCapacity, VakInt oldCapacity);
  // Marks the slots of the free list; an empty text, or what is broken in it.
  [[nodiscard]] std::string checkFreeList(std::vector<bool>& isFree) const;
};

/// Walks the occupied slots in increasing order. Deliberate: null and -1 count as occupied.
class VakIdManager::Iterator {
 public:
  /// Stands before the first identifier.
  explicit Iterator(VakIdManager* idManager) : manager(idManager), index(-1) {}
  /// Advances to the next occupied slot; the walk is over when index reaches the manager's _size.
  void nextValid();

  VakIdManager* manager;  ///< Not owned.
  VakInt index;           ///< The present identifier.
};
