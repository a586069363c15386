#pragma once

// The work area of one removal.
//
// While a removal runs, further requests are gathered in its bin instead of starting removals of
// their own, and are handled in cycles:
//   1. add()             hides the extractables asked for, which are then pending;
//   2. removeFromAll()   lets every visible extractable drop its references to hidden ones; those
//                        that ask for their own removal are pending too, until nobody asks;
//   3. startReleaseMode  the pending ones are destroyed, last first; requests are deferred;
//   4. endReleaseMode    the deferred ones are hidden and pending; 3. again, without a sweep.

#include <string>

#include "vakenv/fwd.h"
#include "vakenv/registry/extractable_roll.h"
#include "vakenv/tables/hash_table.h"
#include "vakmodel/contract/extractable_array.h"

/// What one removal still has to do, and which expressions it destroyed while they were in use.
///
/// Made and released by VakEnvI, which keeps it in _recycleBin meanwhile, in the environment's
/// memory. The bin that stands there also lists its extractables in the environment's rolls, where
/// those that go by another path are struck: an element of `pending` or `deferred` is null then.
///
/// Threads: confined to the thread that removes.
/// Phases: open, while a removal runs.
/// Gives back: end().
class VakRecycleBinI {
 public:
  /// An empty bin. Throws std::bad_alloc and VakMemoryException.
  explicit VakRecycleBinI(VakEnvI* env);
  /// Frees the table; the arrays must have been ended.
  ~VakRecycleBinI();
  VakRecycleBinI(const VakRecycleBinI&) = delete;
  VakRecycleBinI& operator=(const VakRecycleBinI&) = delete;

  /// Hides `e` and lists it as pending; in release mode lists it as deferred and leaves it visible.
  /// Nothing for null, for an unregistered extractable and for one that is hidden already.
  void add(VakExtractableI* e);
  /// Requests are deferred from now on.
  void startReleaseMode();
  /// Forgets what is pending, hides what is deferred and makes it pending.
  void endReleaseMode();
  /// Sweeps until nothing more becomes pending, then reports a VakRemoveFromAllChange.
  void removeFromAll();
  /// Gives the arrays back and frees the table; may be called again.
  void end();

  /// An empty text if arrays, table and, for the installed bin, the environment's rolls agree and
  /// hold registered extractables, else what is broken. With `pool`, nothing listed may be free
  /// memory.
  [[nodiscard]] std::string check(const VakMemoryInspection* pool = nullptr) const;

  /// The address, shifted right by 5 bits, masked with `size` - 1: `size` is a power of two.
  static VakInt HashExtractable(VakExtractableI* p, VakInt size);
  /// 1 for the same address, else 0.
  static VakInt CompareExtractables(VakExtractableI* a, VakExtractableI* b);
  /// Calls removeHidden(0) of every visible extractable, and again as long as `listed` grows
  /// meanwhile. What is called may create and delete extractables.
  static void Sweep(VakEnvI* env, VakExtractableArray listed);

  VakExtractableArray pending;   ///< Hidden and waiting for removal.
  VakExtractableArray deferred;  ///< Asked for in release mode; visible.
  VakInt releaseMode;            ///< 1 while the pending ones are destroyed, else 0.
  VakHashTable<VakExtractableI*, VakExtractableI*> destroyed;  ///< Destroyed while in use.

 private:
  [[nodiscard]] VakEnvI* getEnvImpl() const;
  void list(VakExtractableI* e, VakExtractableArray array, VakExtractableRoll& roll);
  void hide(VakExtractableI* e);
  [[nodiscard]] std::string checkList(const char* name, VakExtractableArray array,
                                      const VakExtractableRoll& roll,
                                      const VakMemoryInspection* pool) const;
};
