#pragma once

// The handle of any object of a model, with what all of them have: a name, a user object, named
// properties, an identifier, and two ways out of the models.

#include <iosfwd>
#include <ranges>
#include <string_view>

#include "vakenv/memory/env.h"
#include "vakenv/properties/property_set.h"
#include "vakenv/properties/typed_properties.h"
#include "vakmodel/contract/extractable_array.h"
#include "vakmodel/fwd.h"

/// Handle of a modelling object: one pointer, copied freely, never an owner; null when empty.
///
/// Objects live until they are ended, or as long as their environment. Ending one ends all handles
/// on it; only the handle that was used becomes empty, the others dangle.
///
/// Every operation but getImpl, isEmpty, end and the comparison throws VakEmptyHandleException on
/// an empty handle, with the name of the handle's class: "VakExtractable: Using empty handle" for
/// the operations here. One thread at a time uses an environment and everything in it.
///
/// With GCC 12, in `h = f()` an `f` that throws may leave `h` overwritten, a fault of that compiler
/// with trivially copyable classes: do not read `h` afterwards in the same function.
///
/// Threads: read-shared; in thread-safe mode several threads may also make objects of their own.
/// Phases: open; while a change is told or a solve runs, what is concerned is read only: changing
///     it throws.
/// Gives back: end() takes back what the constructor made; the environment's end takes the rest.
class VakExtractable {
 public:
  VakExtractable() = default;
  /// A handle on an existing object; null makes an empty handle.
  explicit VakExtractable(VakExtractableI* impl) : _impl(impl) {}

  [[nodiscard]] VakExtractableI* getImpl() const { return _impl; }
  [[nodiscard]] bool isEmpty() const { return _impl == nullptr; }
  /// True when both handles hold the same object.
  [[nodiscard]] bool is(VakExtractable other) const { return _impl == other._impl; }
  friend bool operator==(VakExtractable a, VakExtractable b) { return a._impl == b._impl; }

  /// The environment the object belongs to.
  [[nodiscard]] VakEnv getEnv() const;
  /// The object's number among the objects of its environment; -1 when it was taken out of the
  /// environment. Numbers of ended objects are used again.
  [[nodiscard]] VakInt getId() const;

  /// The object's own copy of its name; null when it has none. Names need not be unique.
  [[nodiscard]] const char* getName() const;
  /// Stores a copy of `name`; null clears the name. Not a change of the model: nobody is told.
  void setName(const char* name) const;
  /// The user object, which is not owned; null for none.
  [[nodiscard]] VakAny getObject() const;
  void setObject(VakAny object) const;

  // Named properties. A null name throws VakEmptyHandleException
  // "VakExtractable: Using empty string".

  /// The set of the object's properties, or an empty handle; creates nothing.
  [[nodiscard]] VakNamedPropertySet getProperties() const;
  /// True when there is a property of this name.
  [[nodiscard]] bool hasProperty(const char* name) const;
  /// Throws VakNamedPropertySet::NotPresent when there is none of this name.
  [[nodiscard]] VakNamedProperty getProperty(const char* name) const;
  /// The value of a property by its C++ type, as in x.getProperty<VakNum>("weight"). Throws
  /// NotPresent, or BadType when the property is of another kind.
  template <class T>
  [[nodiscard]] auto getProperty(const char* name) const {
    return VakReadProperty<T>(*this, name);
  }
  /// The same, with the value to return when there is no property of this name.
  template <class T>
  [[nodiscard]] auto getProperty(const char* name, T fallback) const {
    return VakReadProperty<T>(*this, name, fallback);
  }
  // Change the property of this name or add one; throw BadType when it is of another kind.
  void setIntProperty(const char* name, VakInt value) const;
  void setNumProperty(const char* name, VakNum value) const;
  void setAnyProperty(const char* name, VakAny value) const;
  void setStringProperty(const char* name, const char* value) const;
  /// Adds copies of all properties of `set`, which must not be an empty handle. Throws
  /// VakNamedPropertySet::AlreadyPresent at the first name that the object has a property of.
  void addProperties(VakNamedPropertySet set) const;
  /// Throws NotPresent when there is none of this name.
  void removeProperty(const char* name) const;
  /// Nothing when there are none.
  void removeAllProperties() const;

  // The same for names of a known length: strings, views, and texts that need no terminator. What
  // is looked up is not copied, and exceptions hold a copy of the name.

  void setName(std::string_view name) const;
  [[nodiscard]] bool hasProperty(std::string_view name) const;
  [[nodiscard]] VakNamedProperty getProperty(std::string_view name) const;
  template <class T>
  [[nodiscard]] auto getProperty(std::string_view name) const {
    return VakReadProperty<T>(*this, name);
  }
  template <class T>
  [[nodiscard]] auto getProperty(std::string_view name, T fallback) const {
    return VakReadProperty<T>(*this, name, fallback);
  }
  void setIntProperty(std::string_view name, VakInt value) const;
  void setNumProperty(std::string_view name, VakNum value) const;
  void setAnyProperty(std::string_view name, VakAny value) const;
  void setStringProperty(std::string_view name, const char* value) const;
  void setStringProperty(std::string_view name, std::string_view value) const;
  void removeProperty(std::string_view name) const;

  /// Takes the object out of every model, constraint, objective and expression; it lives on and can
  /// be used again. Algorithms are told afterwards, of all objects at once; what they refuse is
  /// done nevertheless. Throws VakModelError while a change of the object is being reported. Costs
  /// one pass over everything in the environment, which no other thread may use meanwhile, not even
  /// in thread-safe mode. A model loses its constraints and its objective.
  void removeFromAll() const;
  /// Takes the object out of everything and deletes it, with all that becomes pointless:
  ///   - a constraint that loses its last variable, unless it is kept when empty;
  ///   - the constraints and the objective of a model that ends.
  /// Algorithms are told of the removal once, then of the end of each object. Should one of them
  /// throw, or memory run out, what was taken out stays out, what was not deleted yet lives on, and
  /// the exception passes on; the handle keeps its object then if it lives. While a change of the
  /// object is being reported it cannot be ended (VakModelError), and a constraint does not end for
  /// want of variables. Costs one pass over everything in the environment, which no other thread
  /// may use meanwhile, not even in thread-safe mode: end many objects with VakEndAll. The handle
  /// is empty afterwards; nothing for an empty one.
  void end();

 protected:
  /// The object; throws VakEmptyHandleException when there is none.
  [[nodiscard]] VakExtractableI* impl() const {
    if (_impl == nullptr) [[unlikely]]
      ThrowEmpty("VakExtractable: Using empty handle");
    return _impl;
  }
  [[noreturn]] static void ThrowEmpty(const char* message);

  VakExtractableI* _impl = nullptr;  ///< The object, not owned; null when the handle is empty.
};

/// Writes the object as its class does: a variable as its name, or as in #12 when it has none, the
/// number being its identifier; constraints, objectives, models and stored expressions as what they
/// say; anything else as in: VakThing "name". An empty handle is written as (empty).
std::ostream& operator<<(std::ostream& out, VakExtractable object);

/// Ends all objects of `array` in one removal; empty handles and objects that were taken out of
/// their environment are passed over. The array stays, and its elements dangle. Throws as
/// VakExtractable::end does, and VakModelMismatch, having ended nothing, for objects of another
/// environment than the array's.
void VakEndAll(VakExtractableArray array);
/// Takes all objects of `array` out of everything else in one removal; they live on, and what they
/// hold of one another stays. Throws as VakEndAll.
void VakRemoveAllFromAll(VakExtractableArray array);

/// The objects of a range of handles as an array in the environment of the first one, for the
/// caller to end; an empty handle when there are none.
/// Threads: confined, since it makes an array. Phases: open.
/// Gives back: end() of the array.
template <std::ranges::input_range R>
[[nodiscard]] VakExtractableArray VakMakeExtractableArray(const R& handles) {
  VakExtractableArray array;
  for (const VakExtractable handle : handles) {
    if (handle.isEmpty()) continue;
    if (array.getImpl() == nullptr) array = VakExtractableArray(handle.getEnv());
    try {
      array.add(handle.getImpl());
    } catch (...) {
      array.end();
      throw;
    }
  }
  return array;
}

/// Calls `action` with the objects of a range of handles as an array that lives as long as the
/// call.
/// Threads: confined, since it makes an array. Phases: open.
template <std::ranges::input_range R, class Action>
void VakWithExtractableArray(const R& handles, Action action) {
  struct Guard {
    VakExtractableArray array;
    ~Guard() { array.end(); }
  } guard{VakMakeExtractableArray(handles)};
  action(guard.array);
}

/// Ends all objects of a range of handles, as in VakEndAll(model.variables()), in one removal.
/// Threads: confined. Phases: open.
template <std::ranges::input_range R>
void VakEndAll(const R& handles) {
  VakWithExtractableArray(handles, [](VakExtractableArray array) { VakEndAll(array); });
}
/// Takes all objects of a range of handles out of everything in one removal; they live on.
/// Threads: confined. Phases: open.
template <std::ranges::input_range R>
void VakRemoveAllFromAll(const R& handles) {
  VakWithExtractableArray(handles, [](VakExtractableArray array) { VakRemoveAllFromAll(array); });
}
