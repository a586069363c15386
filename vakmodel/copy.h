#pragma once

// Copies of models, inside an environment and into others.
//
//   VakCopier copier(target);
//   copier.substitute(x, y);               where the model has x, the copy has y
//   VakModel m2 = copier.copy(m);
//   VakNumVar z2 = copier.getCopy(z);      what z became
//   VakObjectMap map = copier.getMap();    the same for later
//
// What several objects share is copied once as long as one copier lives: two models that share
// variables have copies that share the copied variables. Copies have the names, user objects and
// properties (each its own copy) of their originals. Nothing is reported: nobody can have the
// copies yet.

#include <type_traits>
#include <vector>

#include "vakmodel/extractable.h"

/// Which object became which. A plain value; it does not notice that objects end.
///
/// Threads: read-shared; a value.
/// Phases: any; the objects that it names may have ended.
class VakObjectMap {
 public:
  /// What `original` became, or an empty handle.
  template <class Handle>
  [[nodiscard]] auto operator()(Handle original) const {
    return Handle::From(VakExtractable(find(original.VakExtractable::getImpl())));
  }
  [[nodiscard]] std::size_t getSize() const { return _entries; }

 private:
  friend class VakCopier;
  struct Entry {
    VakExtractableI* original = nullptr;
    VakExtractableI* copy = nullptr;
  };
  [[nodiscard]] VakExtractableI* find(VakExtractableI* original) const;

  std::vector<Entry> _byId;  ///< By the identifier of the original at that time.
  std::size_t _entries = 0;  ///< Those that are in use.
};

/// One copying operation into one environment: while it lives, what was copied is remembered.
///
/// It locks the cloning of the target, unless another copier does so already: then it joins that
/// one, has its substitutions, and what it copied is remembered as long as the outer one lives. All
/// originals of a copying operation come from one environment, and none of them ends before the
/// operation when that is another one than the target. Copiers end before their target, in the
/// reverse order of their making, on the thread of the target.
///
/// Threads: confined to the thread of the target; no other thread uses either environment.
/// Phases: open in both environments; not while a change is told.
/// Gives back: the destructor ends the operation; the copies stay, and end as other objects do.
class VakCopier {
 public:
  /// A copying operation into `target`. Throws VakEmptyHandleException
  /// ("VakEnv: Using empty handle").
  explicit VakCopier(VakEnv target);
  /// Forgets what was copied, and the substitutions of this copier; the copies stay.
  ~VakCopier();
  VakCopier(const VakCopier&) = delete;
  VakCopier& operator=(const VakCopier&) = delete;

  /// Copies an object with everything that it refers to, unless that was copied before: a model
  /// with its variables, constraints and objective; a constraint with its variables. An object that
  /// was copied before gives the copy it has. If anything throws, what this call copied is gone
  /// again. Throws VakModelMismatch for an object of another environment than those copied before,
  /// VakModelError for one that was taken out of its environment.
  template <class Handle>
  auto copy(Handle original) {
    return Handle::From(copyObject(original));
  }

  /// From now on, where an original refers to `original`, copies refer to `replacement`, which
  /// belongs to the target and has the same class. With `original` itself as replacement, copies
  /// inside an environment share it. Must come before `original` is copied (VakModelError).
  void substitute(VakExtractable original, VakExtractable replacement);

  /// What `original` became so far, or an empty handle.
  template <class Handle>
  [[nodiscard]] auto getCopy(Handle original) const {
    return Handle::From(findCopy(original));
  }
  /// All that was copied so far, substitutions included.
  [[nodiscard]] VakObjectMap getMap() const;

  /// Opens a level: what is copied from now on can be forgotten by itself.
  [[nodiscard]] VakInt openLevel() const;
  /// Forgets, and so copies again when it is asked for once more, what was copied since `level` was
  /// opened.
  void closeLevel(VakInt level);

 private:
  struct Substitute {
    VakExtractableI* original;
    VakExtractableI* outer;  ///< What an outer copier substitutes for it; null for nothing.
  };

  /// The originals' environment, known to any copier of the operation; null before the first one.
  [[nodiscard]] VakEnvI* getSource() const;
  VakExtractable copyObject(VakExtractable original);
  [[nodiscard]] VakExtractable findCopy(VakExtractable original) const;
  void checkOriginal(VakExtractableI* original);
  [[nodiscard]] VakExtractableI* originalOf(VakInt id) const;

  inline static thread_local VakCopier* _newest = nullptr;  ///< Of the copiers of the thread.

  VakEnvI* _target;                      ///< Not owned.
  VakEnvI* _source = nullptr;            ///< Of what this copier was given; null before the first.
  VakCopier* _older = nullptr;           ///< The copier made before this one; null for none.
  bool _tookLock;                        ///< Whether this copier locked the target.
  std::vector<Substitute> _substitutes;  ///< What this copier told the target's expander.
};
