#pragma once

// The base of every modelling object: what the environment asks of variables, expressions,
// constraints, objectives and models.

#include "vakenv/fwd.h"
#include "vakenv/memory/env_memory.h"
#include "vakenv/properties/extensible_object.h"

/// A modelling object, registered with its environment under an identifier. Like the environment it
/// can carry a name, a user object and named properties, and pays one null pointer until it does.
///
/// Made with VakCreate in the memory of its environment. It ends in one of four ways: through
/// VakEnvI::destroy (which tells algorithms first), through a removal, by `delete`, or with the
/// environment, which releases pooled memory without running destructors.
///
/// Invariant: id is -1 exactly while the object is not registered. Everything that ends a
/// registration (finit, removeVerticalEnv, the end of an environment without pooled memory) sets it
/// to -1, and the
/// destructor unregisters only what still has an identifier. So no slot ever holds a dead object,
/// whoever deletes, and nothing is unregistered twice.
///
/// Registration happens in the constructor of this class and the last chance to unregister in its
/// destructor, where the object's virtual functions are those of this class. A class whose typed
/// lists or deleter must see it whole unregisters in a destructor of its own with unregister().
///
/// Threads: read-shared, as the handles on it; in thread-safe mode several threads may make objects
///     of their own.
/// Phases: open; registered from constructor to finit, destroy, removal or destructor.
/// Gives back: VakEnvI::destroy, a removal, `delete`, or the environment's end.
class VakExtractableI : public VakExtensibleRttiEnvObjectI {
  VAK_RTTI(VakExtractableI, VakExtensibleRttiEnvObjectI);

  /// Registers the object with `env`, which must not be null. Throws what VakEnvI::init throws; the
  /// object is not registered then.
  explicit VakExtractableI(VakEnvI* env);
  /// Unregisters the object unless its identifier is -1. Algorithms are not told.
  ~VakExtractableI() noexcept(false) override;

  /// Tells whoever needs to know of a change of this object; VakEnvI::destroy calls it with a
  /// VakDestroyExtractable before it does anything else. This form reports to the environment, and
  /// so to plug-ins and algorithms, whose refusals pass on.
  virtual void notify(const VakChange& change);

  /// Drops every reference that this object holds to a hidden object. The environment calls it with
  /// 0 on every visible object while a removal runs, as often as the removal grows. It may ask for
  /// further removals, this object's own among them, and may create and delete objects. This form
  /// holds no references and does nothing.
  virtual void removeHidden(VakInt mode);

  /// A copy of this object in the memory of `env`, which need not be this object's environment.
  /// References are taken over as `env->getClone(reference)`, so that shared parts are copied once.
  /// The result is owned by `env`.
  [[nodiscard]] virtual VakExtractableI* makeClone(VakEnvI* env) const = 0;

  /// True while a removal hides this object: nobody may keep a reference to it. False for null.
  [[nodiscard]] static bool IsHidden(const VakExtractableI* e);

  /// Unregisters the object if it is registered. For destructors of derived classes.
  void unregister();

  /// Lets removals find the object although it is made while a local environment is installed,
  /// whose booking leaves its slot null. For constructors of classes whose objects refer to others
  /// or are referred to.
  void enterSlot() {
    if (VakHasLocalEnv(_env)) [[unlikely]]
      enterEmptySlot();
  }

  VakInt id;  ///< Index of the object's slot in the identifier table; -1 while not registered.

 private:
  void enterEmptySlot();
};
