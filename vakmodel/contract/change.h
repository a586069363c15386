#pragma once

// Descriptions of changes of a model, as plug-ins and algorithms are told of them.

#include "vakenv/fwd.h"
#include "vakenv/types/rtti.h"
#include "vakmodel/contract/extractable_array.h"

/// One change of a model. The environment passes it on and never looks into it.
///
/// Its kind is asked for with isType: `change.isType(VakDestroyExtractable::GetTypeInfo())`. A
/// change lives on the stack of whoever reports it; nobody keeps it. Each kind says whether it is
/// reported before or after the model is changed, and so what a refusal leaves behind.
///
/// Threads: confined to the thread that changes the model; all listeners are called on it.
/// Phases: told: from the report of a change until all have been told of it.
class VakChange : public VakRtti {
  VAK_RTTI_BELOW_ROOT(VakChange);

  ~VakChange() noexcept(false) override = 0;

 protected:
  VakChange() = default;
  VakChange(const VakChange&) = default;
  VakChange& operator=(const VakChange&) = default;
};

inline VakChange::~VakChange() noexcept(false) = default;

/// An extractable is about to be destroyed. Reported before: it is whole and still registered, and
/// stays so when the change is refused.
///
/// Threads: confined to the thread that changes the model; all listeners are called on it.
/// Phases: told: from the report of a change until all have been told of it.
class VakDestroyExtractable final : public VakChange {
  VAK_RTTI(VakDestroyExtractable, VakChange);

  /// Of this extractable, which is not owned.
  explicit VakDestroyExtractable(VakExtractableI* extractable) : _extractable(extractable) {}
  ~VakDestroyExtractable() noexcept(false) override;

  /// The extractable; not null.
  [[nodiscard]] VakExtractableI* getExtractable() const { return _extractable; }

 private:
  VakExtractableI* _extractable;  ///< Not owned.
};

/// Extractables were taken out of every other object. Reported after: nothing refers to them any
/// more, and a refusal changes nothing of that.
///
/// Threads: confined to the thread that changes the model; all listeners are called on it.
/// Phases: told: from the report of a change until all have been told of it.
class VakRemoveFromAllChange final : public VakChange {
  VAK_RTTI(VakRemoveFromAllChange, VakChange);

  /// Of these extractables; the array is the reporter's.
  explicit VakRemoveFromAllChange(VakExtractableArray extractables) : _extractables(extractables) {}
  ~VakRemoveFromAllChange() noexcept(false) override;

  /// The removed extractables, which are alive; the array is the reporter's and may change later.
  [[nodiscard]] VakExtractableArray getExtractables() const { return _extractables; }

 private:
  VakExtractableArray _extractables;  ///< Not owned.
};
