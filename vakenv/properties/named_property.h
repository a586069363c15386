#pragma once

// Handles of named properties: a name with an integer, a number, an untyped pointer or a text.
//
//   VakNamedIntProperty size(env, "size", 3);
//   env.addProperty(size);
//   std::cout << size;                       // size (3)

#include <iosfwd>
#include <string_view>
#include <type_traits>

#include "vakbase/terminated_text.h"
#include "vakenv/fwd.h"
#include "vakenv/memory/create.h"
#include "vakenv/memory/memory_manager.h"
#include "vakenv/properties/named_property_impl.h"

/// Handle of a named property of any kind: one pointer, copied freely, never an owner; null when
/// empty. The property itself lives until the last set that holds it lets it go, or until end().
///
/// getName and end throw VakEmptyHandleException ("VakNamedProperty: Using empty handle")
/// on an empty handle; display, makeClone and operator<< do not test the handle.
///
/// Threads: read-shared; holds are counted without a lock, so adding to and removing from any set
///     that shares the property are changes.
/// Phases: open; with a manager of no environment as long as that manager serves.
/// Gives back: the last set that lets it go deletes it; end() one that no set holds.
class VakNamedProperty {
 public:
  VakNamedProperty() = default;
  /// A handle on an existing property; null makes an empty handle.
  explicit VakNamedProperty(VakNamedPropertyI* impl) : _impl(impl) {}

  [[nodiscard]] VakNamedPropertyI* getImpl() const { return _impl; }
  friend bool operator==(VakNamedProperty a, VakNamedProperty b) { return a._impl == b._impl; }

  /// The name; null when the property has none.
  [[nodiscard]] const char* getName() const;
  /// A handle of the kind `Kind` (VakNamedIntProperty, ...) on the same property; an empty handle
  /// when this handle is empty or the property is of another kind.
  template <class Kind>
  [[nodiscard]] Kind as() const;
  /// Writes the name and the value, as in "size (3)" and "colour(red)".
  void display(std::ostream& out) const;
  /// A new property with the same name and value in the memory of `manager`.
  [[nodiscard]] VakNamedProperty makeClone(VakMemoryManager manager) const;
  /// Deletes the property and empties this handle. Throws VakWrongUsage
  /// ("Dangerous deletion of named property") while a set holds it, and changes nothing then.
  void end();

  VakNamedPropertyI* _impl = nullptr;  ///< The property, not owned; null when the handle is empty.

  /// Throws VakEmptyHandleException ("VakNamedProperty: Using empty handle") on an empty handle.
  void requireImpl() const;
};

/// Writes what VakNamedProperty::display writes. The handle must not be empty: not checked.
std::ostream& operator<<(std::ostream& out, VakNamedProperty property);

/// What the handles of the four kinds have in common: `Impl` is the kind's implementation class,
/// `Handle` its handle, which derives from this class and adds no member.
///
/// getValue and setValue throw VakEmptyHandleException ("VakNamedProperty: Using empty handle") on
/// an empty handle.
///
/// Threads: read-shared; holds are counted without a lock, so adding to and removing from any set
///     that shares the property are changes.
/// Phases: open; with a manager of no environment as long as that manager serves.
/// Gives back: the last set that lets it go deletes it; end() one that no set holds.
template <class Handle, class Impl>
class VakTypedNamedProperty : public VakNamedProperty {
 public:
  /// The class of the implementation and the type of the value.
  using ImplClass = Impl;
  using EmbeddedType = typename Impl::EmbeddedType;

  VakTypedNamedProperty() = default;
  /// A handle on an existing property; null makes an empty handle.
  explicit VakTypedNamedProperty(Impl* impl) : VakNamedProperty(impl) {}
  /// A handle on a new property in the memory of `manager`. Throws std::bad_alloc, and for a text
  /// also what VakNamedPropertyI::cloneString throws.
  VakTypedNamedProperty(VakMemoryManager manager, const char* name, EmbeddedType value)
      : VakNamedProperty(VakCreate<Impl>(manager, name, value)) {}
  /// The same for a name of a known length.
  VakTypedNamedProperty(VakMemoryManager manager, std::string_view name, EmbeddedType value)
      : VakTypedNamedProperty(manager, VakTerminatedText(name).get(), value) {}

  [[nodiscard]] Impl* getImpl() const { return static_cast<Impl*>(_impl); }
  /// Reads and changes the value. Throw VakEmptyHandleException on an empty handle.
  [[nodiscard]] EmbeddedType getValue() const {
    requireImpl();
    return getImpl()->getValue();
  }
  void setValue(EmbeddedType value) const {
    requireImpl();
    getImpl()->setValue(value);
  }
  /// A new property with the same name and value in the memory of `manager`.
  [[nodiscard]] Handle makeClone(VakMemoryManager manager) const {
    return Handle(static_cast<Impl*>(_impl->makeClone(manager)));
  }
};

/// Handle of an integer property.
///
/// Threads: read-shared; holds are counted without a lock, so adding to and removing from any set
///     that shares the property are changes.
/// Phases: open; with a manager of no environment as long as that manager serves.
/// Gives back: the last set that lets it go deletes it; end() one that no set holds.
class VakNamedIntProperty
    : public VakTypedNamedProperty<VakNamedIntProperty, VakNamedIntPropertyI> {
 public:
  /// As VakTypedNamedProperty's: empty, of an implementation, or a new property of this name.
  using VakTypedNamedProperty::VakTypedNamedProperty;
};

/// Handle of a numeric property.
///
/// Threads: read-shared; holds are counted without a lock, so adding to and removing from any set
///     that shares the property are changes.
/// Phases: open; with a manager of no environment as long as that manager serves.
/// Gives back: the last set that lets it go deletes it; end() one that no set holds.
class VakNamedNumProperty
    : public VakTypedNamedProperty<VakNamedNumProperty, VakNamedNumPropertyI> {
 public:
  /// As VakTypedNamedProperty's: empty, of an implementation, or a new property of this name.
  using VakTypedNamedProperty::VakTypedNamedProperty;
};

/// Handle of a property that names an object of the user, which is not owned.
///
/// Threads: read-shared; holds are counted without a lock, so adding to and removing from any set
///     that shares the property are changes.
/// Phases: open; with a manager of no environment as long as that manager serves.
/// Gives back: the last set that lets it go deletes it; end() one that no set holds.
class VakNamedAnyProperty
    : public VakTypedNamedProperty<VakNamedAnyProperty, VakNamedAnyPropertyI> {
 public:
  /// As VakTypedNamedProperty's: empty, of an implementation, or a new property of this name.
  using VakTypedNamedProperty::VakTypedNamedProperty;
};

/// Handle of a text property, which keeps its own copy of the text.
///
/// Threads: read-shared; holds are counted without a lock, so adding to and removing from any set
///     that shares the property are changes.
/// Phases: open; with a manager of no environment as long as that manager serves.
/// Gives back: the last set that lets it go deletes it; end() one that no set holds.
class VakNamedStringProperty
    : public VakTypedNamedProperty<VakNamedStringProperty, VakNamedStringPropertyI> {
 public:
  /// As VakTypedNamedProperty's: empty, of an implementation, or a new property of this name.
  using VakTypedNamedProperty::VakTypedNamedProperty;
};

static_assert(sizeof(VakNamedIntProperty) == sizeof(VakNamedProperty));
static_assert(sizeof(VakNamedNumProperty) == sizeof(VakNamedProperty));
static_assert(sizeof(VakNamedAnyProperty) == sizeof(VakNamedProperty));
static_assert(sizeof(VakNamedStringProperty) == sizeof(VakNamedProperty));

template <class Kind>
Kind VakNamedProperty::as() const {
  using Impl = typename Kind::ImplClass;
  if (_impl == nullptr || _impl->isType(Impl::GetTypeInfo()) == 0) return Kind();
  return Kind(static_cast<Impl*>(_impl));
}
