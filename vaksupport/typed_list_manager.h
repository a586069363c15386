#pragma once

// Lists of registered extractables by type, for those who want all objects of a class, or of a
// class and its descendants, without walking all identifiers.
//
//   VakTypedListManager --owns--> Lists --owns--> one list of entries for each class seen,
//                                       --owns--> an index from extractable to entry
//
// An extractable is registered by the constructor of its base class, when it does not know its
// class yet. So entries wait in a list of their own until somebody asks, and are filed then.

#include <string>

#include "vakenv/fwd.h"
#include "vakenv/types/rtti.h"

/// Keeps the extractables of one environment in a list per class, once it is switched on.
///
/// Embedded in the environment, which adds and removes extractables as they are registered and
/// unregistered. Off at first: its first member is null and nothing is kept. The lists live in the
/// environment's memory. The destructor does nothing; end() releases the lists. Type indices are
/// never asked for. Not for several threads at once.
///
/// Threads: confined.
/// Phases: open, callbacks included, until step 5 of the end.
/// Gives back: end() gives the lists back; what is listed is not owned.
class VakTypedListManager {
 public:
  class Iterator;
  class Lists;

  /// True while lists are kept.
  [[nodiscard]] bool isOn() const { return _lists != nullptr; }
  /// Starts keeping lists, in the memory of `env`, of what is registered from now on. Throws
  /// std::bad_alloc. A second call changes nothing.
  void switchOn(VakEnvI* env);
  /// Enters `e`, which need not be completely constructed. Must be on. Entering it again changes
  /// nothing. Throws std::bad_alloc and changes nothing. Constant time.
  void add(VakExtractableI* e);
  /// Takes `e` out; an absent one is ignored, and so is everything while switched off. Does not
  /// look into `e`. Constant time.
  void remove(VakExtractableI* e);
  /// The number of listed extractables whose class is the one `type` stands for, or has it among
  /// its declared parents; 0 while switched off. Throws std::bad_alloc. An extractable must not ask
  /// while it is being constructed: it would be filed under the class it seems to have.
  [[nodiscard]] VakInt count(VakTypeInfo type) const;
  /// Releases all lists, not the extractables, and switches off. `env` is the environment that was
  /// given to switchOn.
  void end(VakEnvI* env);
  /// An empty text if index and lists agree, else what is broken. With `ids`, the identifiers of
  /// the environment, every listed extractable must be registered there; with `pool`, none may lie
  /// in free memory. Files nothing and takes no memory of the environment.
  [[nodiscard]] std::string check(const VakIdManager* ids = nullptr,
                                  const VakMemoryInspection* pool = nullptr) const;

  Lists* _lists = nullptr;  ///< The lists, owned until end(); null while switched off.

 private:
  struct Entry;
  struct Chain;
  struct ClassList;
};

/// Walks the listed extractables that count() counts: class by class, the class seen last first,
/// and in each class the newest first.
///
/// The walk survives whatever is added or removed meanwhile, the present extractable and the end of
/// the lists included: what is removed is not visited, what is added need not be.
class VakTypedListManager::Iterator {
 public:
  /// Stands on the first one. Throws std::bad_alloc, and asks what count() asks of the caller.
  Iterator(const VakTypedListManager& manager, VakTypeInfo type);
  ~Iterator();
  Iterator(const Iterator&) = delete;
  Iterator& operator=(const Iterator&) = delete;

  /// True while the walk stands on an extractable.
  [[nodiscard]] bool ok() const { return _e != nullptr; }
  /// The present extractable, null when the walk is over. Stays until the walk goes on, even if it
  /// is removed.
  VakExtractableI* operator*() const { return _e; }
  /// Goes on to the next one; nothing when the walk is over.
  Iterator& operator++();

 private:
  friend class Lists;

  Lists* _lists;         ///< Not owned; null while off and once they are ended.
  VakTypeInfo _type;     ///< What is walked.
  VakExtractableI* _e;   ///< The present one; null when the walk is over.
  Entry* _next;          ///< What comes after it; null for nothing. Removals move it on.
  Iterator* _otherWalk;  ///< The walk begun before this one and not over; null for none.
};
