#pragma once

// Reading and writing the values of properties by name and type, for every owner of properties.
//
// The three templates ending in I are what the typed getters and setters of the owners consist of;
// an owner has getProperty, getProperties and addProperty. getProperty<T>(name) of the handles and
// of the extensible objects chooses the kind of property by the C++ type.

#include <string_view>
#include <type_traits>

#include "vakbase/terminated_text.h"
#include "vakenv/fwd.h"
#include "vakenv/memory/env.h"
#include "vakenv/properties/named_property.h"
#include "vakenv/properties/property_set.h"

/// The allocator in which an owner makes its new properties.
[[nodiscard]] VakGenAlloc* VakGetOwnerAllocator(const VakEnvI* owner);
[[nodiscard]] VakGenAlloc* VakGetOwnerAllocator(const VakExtensibleRttiMemoryManagerObjectI* owner);
[[nodiscard]] VakGenAlloc* VakGetOwnerAllocator(const VakExtensibleRttiEnvObjectI* owner);

/// A handle of the kind `Kind` on `property`, which was found under `name`. Throws
/// VakNamedPropertySet::NotPresent when it is null, BadType when it is of another kind.
template <class Kind>
[[nodiscard]] Kind VakAsPropertyKind(const char* name, VakNamedPropertyI* property) {
  using Impl = typename Kind::ImplClass;
  if (property == nullptr) throw VakNamedPropertySet::NotPresent(name, nullptr);
  if (property->isType(Impl::GetTypeInfo()) == 0) throw VakNamedPropertySet::BadType(name);
  return Kind(static_cast<Impl*>(property));
}

/// The same for a name of a known length; the exceptions hold a copy of it.
template <class Kind>
[[nodiscard]] Kind VakAsPropertyKind(std::string_view name, VakNamedPropertyI* property) {
  using Impl = typename Kind::ImplClass;
  if (property == nullptr) VakThrowNotPresent(name);
  if (property->isType(Impl::GetTypeInfo()) == 0) VakThrowBadType(name);
  return Kind(static_cast<Impl*>(property));
}

/// Fills `result` with a handle on the owner's property of this name. Throws
/// VakNamedPropertySet::NotPresent when there is none, BadType when it is of another kind.
/// Threads: read-shared, as the owner is. Phases: open, as long as the owner.
template <class Kind, class Owner>
void VakGetPropertyI(const char* name, const Owner* owner, Kind& result) {
  result = VakAsPropertyKind<Kind>(name, owner->getProperty(name));
}

/// Fills `value` with the value of the owner's property of this name; a text is the property's own
/// copy. Throws as VakGetPropertyI does.
/// Threads: read-shared, as the owner is. Phases: open, as long as the owner.
template <class Kind, class Owner>
void VakGetPropertyValueI(const char* name, const Owner* owner,
                          typename Kind::EmbeddedType& value) {
  Kind property;
  VakGetPropertyI<Kind>(name, owner, property);
  value = property.getValue();
}

/// Gives the owner's property of this name a new value, or makes the property in the owner's
/// allocator and adds it. Throws BadType when the property is of another kind, and what addProperty
/// of the owner throws; a fresh property is deleted then.
/// Threads: confined, as the owner is. Phases: open, as long as the owner.
template <class Kind, class Owner>
void VakSetPropertyValueI(const char* name, Owner* owner, typename Kind::EmbeddedType value) {
  const VakNamedPropertySetI* set = owner->getProperties();
  const auto* found = set == nullptr ? nullptr : set->getElem(name);
  if (found != nullptr) {
    VakAsPropertyKind<Kind>(name, found->_property).setValue(value);
    return;
  }
  Kind fresh(VakGetOwnerAllocator(owner), name, value);
  try {
    owner->addProperty(fresh.getImpl());
  } catch (...) {
    fresh.end();
    throw;
  }
}

/// The same for a name of a known length, which is copied only when a property is made.
/// Threads: confined, as the owner is. Phases: open, as long as the owner.
template <class Kind, class Owner>
void VakSetPropertyValueI(std::string_view name, Owner* owner, typename Kind::EmbeddedType value) {
  const VakNamedPropertySetI* set = owner->getProperties();
  if (const auto* found = set == nullptr ? nullptr : set->getElem(name)) {
    VakAsPropertyKind<Kind>(name, found->_property).setValue(value);
    return;
  }
  VakSetPropertyValueI<Kind>(VakTerminatedText(name).get(), owner, value);
}

/// The kind of property that holds values of the C++ type T: Int for integer types, Num for
/// floating-point types, String for const char*, Any for void*.
///
/// Threads: thread safe: it holds constants.
/// Phases: any.
template <class T>
struct VakPropertyKindOf {
  static_assert(std::is_arithmetic_v<T> && !std::is_same_v<T, bool>,
                "a property holds an integer, a floating-point number, a const char* or a void*");
  using Kind = std::conditional_t<std::is_integral_v<T>, VakNamedIntProperty,
                                  VakNamedNumProperty>;  ///< The handle.
};
/// Texts.
template <>
struct VakPropertyKindOf<const char*> {
  using Kind = VakNamedStringProperty;  ///< The handle.
};
/// Texts.
template <>
struct VakPropertyKindOf<char*> {
  using Kind = VakNamedStringProperty;  ///< The handle.
};
/// Pointers.
template <>
struct VakPropertyKindOf<void*> {
  using Kind = VakNamedAnyProperty;  ///< The handle.
};

/// The value of the property of this name, a `const char*` or a std::string_view, of whatever has
/// getProperty(name).
/// Threads: read-shared, as the source is. Phases: open, as long as the source.
template <class T, class Source, class Name>
[[nodiscard]] typename VakPropertyKindOf<T>::Kind::EmbeddedType VakReadProperty(
    const Source& source, Name name) {
  using Kind = typename VakPropertyKindOf<T>::Kind;
  if constexpr (std::is_pointer_v<decltype(source.getProperty(name))>) {
    return VakAsPropertyKind<Kind>(name, source.getProperty(name)).getValue();
  } else {
    return VakAsPropertyKind<Kind>(name, source.getProperty(name).getImpl()).getValue();
  }
}

/// The same, or `fallback` when there is no property of this name.
/// Threads: read-shared, as the source is. Phases: open, as long as the source.
template <class T, class Source, class Name>
[[nodiscard]] typename VakPropertyKindOf<T>::Kind::EmbeddedType VakReadProperty(
    const Source& source, Name name, T fallback) {
  if (!source.hasProperty(name)) return fallback;
  return VakReadProperty<T>(source, name);
}

template <class T>
auto VakNamedPropertySet::getProperty(const char* name) const {
  return VakReadProperty<T>(*this, name);
}
template <class T>
auto VakNamedPropertySet::getProperty(const char* name, T fallback) const {
  return VakReadProperty<T>(*this, name, fallback);
}
template <class T>
auto VakNamedPropertySet::getProperty(std::string_view name) const {
  return VakReadProperty<T>(*this, name);
}
template <class T>
auto VakNamedPropertySet::getProperty(std::string_view name, T fallback) const {
  return VakReadProperty<T>(*this, name, fallback);
}

template <class T>
auto VakEnv::getProperty(const char* name) const {
  return VakReadProperty<T>(*this, name);
}
template <class T>
auto VakEnv::getProperty(const char* name, T fallback) const {
  return VakReadProperty<T>(*this, name, fallback);
}
template <class T>
auto VakEnv::getProperty(std::string_view name) const {
  return VakReadProperty<T>(*this, name);
}
template <class T>
auto VakEnv::getProperty(std::string_view name, T fallback) const {
  return VakReadProperty<T>(*this, name, fallback);
}
