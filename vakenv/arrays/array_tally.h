#pragma once

// What the arrays of an environment hold, counted where storage is taken and given back, so that a
// memory report knows it in every build.

#include <atomic>

#include "vakbase/numbers.h"

/// Counts of the storage that arrays hold in one environment; a member of the environment.
///
/// An array with storage has one table, so the tables are the arrays that hold any. Arrays whose
/// memory manager is not the environment's own are not counted.
///
/// Threads: thread safe; count() only as far as it is told of the others.
/// Phases: open.
class VakArrayTally {
 public:
  /// Adds to both counts; what is given back is negative. With `isShared` other threads may count
  /// at the same time; without it no other thread does, and this is two plain additions.
  void count(VakInt tables, VakInt bytes, bool isShared) noexcept {
    if (isShared) [[unlikely]] {
      _tables.fetch_add(tables, std::memory_order_relaxed);
      _bytes.fetch_add(bytes, std::memory_order_relaxed);
      return;
    }
    if (tables != 0) _tables.store(getTables() + tables, std::memory_order_relaxed);
    _bytes.store(getBytes() + bytes, std::memory_order_relaxed);
  }

  /// Arrays with storage.
  [[nodiscard]] VakInt getTables() const noexcept {
    return _tables.load(std::memory_order_relaxed);
  }
  /// Bytes of the elements of the pool that their tables and chunks are in.
  [[nodiscard]] VakInt getBytes() const noexcept { return _bytes.load(std::memory_order_relaxed); }

 private:
  std::atomic<VakInt> _tables = 0;
  std::atomic<VakInt> _bytes = 0;
};
