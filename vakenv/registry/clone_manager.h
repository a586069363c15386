#pragma once

// What was copied into what, during one copying operation.

#include <string>

#include "vakenv/arrays/array.h"
#include "vakenv/fwd.h"

/// Remembers the copy of each extractable, so that a copied model refers to each copy once.
///
/// Made and owned by the environment. A copying operation holds the lock; the table is cleared when
/// the lock goes. Operations nest: whoever gets 0 from lock() did not take it and must not release
/// it; levels let an inner operation forget its own copies. Copies are not owned. Deliberate: the
/// table grows in the environment's ordinary memory, past any local environment, so no other thread
/// may use the environment while something is copied.
///
/// Invariant: every entry of `clones` that is not null has its identifier in `ids`.
///
/// Threads: confined, also in thread-safe mode.
/// Phases: open, until step 12 of the end.
/// Gives back: unlock() takes back lock(), unlockLevel() takes back lockLevel().
class VakCloneManager {
 public:
  /// An empty, unlocked table. Throws std::bad_alloc.
  explicit VakCloneManager(VakEnvI* env);
  /// Gives the tables back; the copies stay.
  ~VakCloneManager();
  VakCloneManager(const VakCloneManager&) = delete;
  VakCloneManager& operator=(const VakCloneManager&) = delete;

  /// Locks the table: 1 when the caller took the lock, 0 when it was held already.
  VakInt lock();
  /// Releases the lock, whoever holds it, and clears the table.
  void unlock();
  /// The present level: the number of copies recorded so far.
  [[nodiscard]] VakInt lockLevel() const;
  /// As clearLevel().
  void unlockLevel(VakInt level);
  /// Pushes the environment's expander: 1 when there was none pushed, else 0. Throws
  /// VakMemoryException.
  VakInt pushExpander();
  /// Forgets all copies. Deliberate: also the pushed expander.
  void clear();
  /// Forgets the copies recorded since `level`; nothing when there are none.
  void clearLevel(VakInt level);
  /// Makes the table long enough for `maxId`. Throws std::bad_alloc.
  void setMaxId(VakInt maxId);
  /// 1 when a copy of `e` is recorded, else 0.
  [[nodiscard]] VakInt hasClone(VakExtractableI* e) const;
  /// The copy of `e`: the recorded one, else what the pushed expander puts in its place, else a
  /// copy that `e` makes of itself. Recorded as long as the lock is held by someone else, and only
  /// if `e` is registered. Throws std::bad_alloc and what copying throws; locks are as before then.
  [[nodiscard]] VakExtractableI* getClone(VakExtractableI* e);
  /// Records `c` as the copy of `e`; nothing when `e` is not registered. Throws std::bad_alloc.
  void setClone(VakExtractableI* e, VakExtractableI* c);
  /// An empty text if the invariant holds, both tables are sound and, with `pool`, not free
  /// memory, else what is broken. Deliberate: copies are not looked at, since one may be gone
  /// before it is forgotten. Costs time and memory, from the general heap, in the identifiers of
  /// the table.
  [[nodiscard]] std::string check(const VakMemoryInspection* pool = nullptr) const;
  /// Forgets the copy of the extractable with this identifier, which is about to be free.
  void forget(VakInt id) noexcept;

  VakEnvI* env;            ///< The environment served; not owned.
  VakInt locked;           ///< 1 while a copying operation holds the table, else 0.
  VakArrayI* clones;       ///< By identifier: the copy, or null; owned.
  VakArray<VakInt> ids;    ///< Identifiers whose entries were set, in that order; owned.
  VakExpanderI* expander;  ///< Pushed for substitution; null for none; not owned.

 private:
  [[nodiscard]] VakExtractableI*& entry(VakInt id) const;
  [[nodiscard]] VakExtractableI* findOrCopy(VakExtractableI* e);
  [[nodiscard]] VakExtractableI* makeCopy(VakExtractableI* e);
  void record(VakInt id, VakExtractableI* copy);
};
