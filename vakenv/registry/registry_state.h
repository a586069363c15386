#pragma once

// What the registry keeps in the environment beside the documented record.

#include <atomic>
#include <mutex>

#include "vakenv/fwd.h"
#include "vakenv/plugins/plugin_manager.h"
#include "vakenv/plugins/walk.h"
#include "vakenv/registry/extractable_roll.h"
#include "vakenv/registry/reference_table.h"

/// Walks under way, what the running removals list, and the counts and locks of thread-safe mode.
///
/// A trailing member of the environment, used by the sources of the registry. Invariant: rolls and
/// watches hold registered extractables only, because the end of every registration is reported to
/// forget().
///
/// Threads: confined, except for the counts, which are atomic, and the members that the two locks
///     guard.
/// Phases: open, callbacks included.
struct VakRegistryState {
  /// A roll that lasts as long as one call.
  struct CallRoll {
    /// Becomes the innermost roll of `owner`, which it has to leave again.
    explicit CallRoll(VakRegistryState& owner) : state(owner), outer(owner.callRolls) {
      state.callRolls = this;
    }
    ~CallRoll() { state.callRolls = outer; }
    CallRoll(const CallRoll&) = delete;
    CallRoll& operator=(const CallRoll&) = delete;

    VakRegistryState& state;  ///< Outlives the call.
    CallRoll* outer;          ///< The roll of an enclosing call; null for none.
    VakExtractableRoll roll;  ///< Who is to be called.
  };

  /// Strikes `e`, whose registration ends, wherever it is listed or watched. `releasing` says that
  /// what a removal lists is being destroyed; its list then shrinks with each object.
  void forget(const VakExtractableI* e, bool releasing) noexcept;
  /// True when nothing is listed or watched, as is usual: forget() has nothing to do then.
  [[nodiscard]] bool isQuiet() const noexcept {
    return watches == nullptr && callRolls == nullptr && pending.getSize() == 0 &&
           deferred.getSize() == 0 && nested.getSize() == 0;
  }

  VakWalk<VakAlgorithmI>* algorithmWalks = nullptr;  ///< Walks that tell algorithms of a change.
  VakPlugInManager::VakRunning plugIns;              ///< Walks of the plug-in manager.
  VakWatch<VakExtractableI>* watches = nullptr;      ///< Lost when a registration ends.
  VakWatch<VakExtractableI>* deletionWatches = nullptr;  ///< Lost when an extractable is deleted.
  CallRoll* callRolls = nullptr;  ///< Rolls of calls under way, newest first.
  VakExtractableRoll pending;     ///< What the recycle bin lists as pending, in its order.
  VakExtractableRoll deferred;    ///< What the recycle bin lists as deferred, in its order.
  VakExtractableRoll nested;      ///< What removals within the running one hid without listing it.

  VakReferenceTable references;  ///< Stamps of extractables that references follow.

  bool isDestroying = false;  ///< True while a removal runs that destroys what it takes out.

  std::atomic<VakInt> liveDestroyables = 0;  ///< Destroyables constructed and not yet destroyed.
  std::atomic<VakInt> unreleasedIds = 0;     ///< Identifiers that thread-safe mode never releases.

  // Locks of thread-safe mode, the last to be taken: no other lock is taken while one is held.
  std::mutex destroyablesLock;  ///< Guards the list of destroyables.
  std::mutex slotsLock;         ///< Guards the identifier table against growth.
};
