#pragma once

// The property operations as members of an extensible class.

#include <string_view>

#include "vakenv/fwd.h"
#include "vakenv/properties/extension_slot.h"
#include "vakenv/properties/typed_properties.h"

/// Gives its descendant `Owner`, which has a member _extension and a VakGetOwnerAllocator, the
/// operations on name, user object and properties. It has no data.
///
/// A null name finds nothing here; only the environment's handle refuses it. One thread at a time.
///
/// Threads: read-shared, as the owner is; set, add and remove change.
/// Phases: open, as long as the owner.
/// Gives back: removeProperty and removeAllProperties take back what set and add functions added.
template <class Owner>
class VakPropertyOwner {
 public:
  /// The owner's own copy of its name; null when it has none.
  [[nodiscard]] const char* getName() const { return VakExtensionSlot::GetName(extension()); }
  /// Stores a copy of `name`; null clears the name. Throws std::bad_alloc.
  void setName(const char* name) { slot().setName(name); }
  /// The user object, not owned; null for none.
  [[nodiscard]] VakAny getObject() const { return VakExtensionSlot::GetObject(extension()); }
  void setObject(VakAny object) { slot().setObject(object); }

  /// The set of properties, owned here; null for none. Nothing is created.
  [[nodiscard]] VakNamedPropertySetI* getProperties() const {
    return VakExtensionSlot::GetProperties(extension());
  }
  /// Takes `set` over and deletes the old one, even if it is `set` itself.
  void setProperties(VakNamedPropertySetI* set) { slot().setProperties(set); }
  /// 1 if there is a property of this name, else 0.
  [[nodiscard]] VakInt hasProperty(const char* name) const {
    return VakExtensionSlot::HasProperty(extension(), name);
  }
  /// Throws VakNamedPropertySet::NotPresent when there is none.
  [[nodiscard]] VakNamedPropertyI* getProperty(const char* name) const {
    return VakExtensionSlot::GetProperty(extension(), name);
  }
  /// The value of a property by its C++ type; see VakNamedPropertySet.
  template <class T>
  [[nodiscard]] auto getProperty(const char* name) const {
    return VakReadProperty<T>(*this, name);
  }
  template <class T>
  [[nodiscard]] auto getProperty(const char* name, T fallback) const {
    return VakReadProperty<T>(*this, name, fallback);
  }
  /// Shares `property`. Throws as VakNamedPropertySetI::addProperty does.
  void addProperty(VakNamedPropertyI* property) { slot().addProperty(property); }
  /// Adds a copy. Throws as VakNamedPropertySetI::addClonedProperty does.
  void addClonedProperty(VakNamedPropertyI* property) { slot().addClonedProperty(property); }
  /// Adds copies of all properties of `set`, which may be null and stays the caller's.
  void addProperties(const VakNamedPropertySetI* set) { slot().addProperties(set); }
  /// Throws VakNamedPropertySet::NotPresent when there is none.
  void removeProperty(const char* name) { slot().removeProperty(name); }
  void removeProperty(VakNamedPropertyI* property) { slot().removeProperty(property); }
  /// Nothing when there are none.
  void removeAllProperties() { slot().removeAllProperties(); }

  // Typed getters throw NotPresent or BadType; typed setters change the property of this name or
  // add one, and throw BadType when it is of another kind.

  [[nodiscard]] VakInt getIntProperty(const char* name) const {
    return value<VakNamedIntProperty>(name);
  }
  [[nodiscard]] VakNum getNumProperty(const char* name) const {
    return value<VakNamedNumProperty>(name);
  }
  [[nodiscard]] VakAny getAnyProperty(const char* name) const {
    return value<VakNamedAnyProperty>(name);
  }
  /// The property's own copy of the text; not to be released.
  [[nodiscard]] const char* getStringProperty(const char* name) const {
    return value<VakNamedStringProperty>(name);
  }
  /// Change the property of this name or add one; throw BadType when it is of another kind.
  void setIntProperty(const char* name, VakInt v) {
    VakSetPropertyValueI<VakNamedIntProperty>(name, owner(), v);
  }
  void setNumProperty(const char* name, VakNum v) {
    VakSetPropertyValueI<VakNamedNumProperty>(name, owner(), v);
  }
  void setAnyProperty(const char* name, VakAny v) {
    VakSetPropertyValueI<VakNamedAnyProperty>(name, owner(), v);
  }
  void setStringProperty(const char* name, const char* v) {
    VakSetPropertyValueI<VakNamedStringProperty>(name, owner(), v);
  }

  // The same for names of a known length. What is looked up is not copied; exceptions hold a copy.

  void setName(std::string_view name) { setName(VakTerminatedText(name).get()); }
  [[nodiscard]] VakInt hasProperty(std::string_view name) const {
    return VakExtensionSlot::HasProperty(extension(), name);
  }
  [[nodiscard]] VakNamedPropertyI* getProperty(std::string_view name) const {
    return VakExtensionSlot::GetProperty(extension(), name);
  }
  template <class T>
  [[nodiscard]] auto getProperty(std::string_view name) const {
    return VakReadProperty<T>(*this, name);
  }
  template <class T>
  [[nodiscard]] auto getProperty(std::string_view name, T fallback) const {
    return VakReadProperty<T>(*this, name, fallback);
  }
  void removeProperty(std::string_view name) { slot().removeProperty(name); }
  template <class Kind>
  [[nodiscard]] typename Kind::EmbeddedType getPropertyValue(std::string_view name) const {
    return VakAsPropertyKind<Kind>(name, getProperty(name)).getValue();
  }
  /// Changes the property of this name or adds one of the kind `Kind`.
  template <class Kind>
  void setPropertyValue(std::string_view name, typename Kind::EmbeddedType v) {
    VakSetPropertyValueI<Kind>(name, owner(), v);
  }

 private:
  friend Owner;
  VakPropertyOwner() = default;
  ~VakPropertyOwner() = default;

  [[nodiscard]] Owner* owner() { return static_cast<Owner*>(this); }
  [[nodiscard]] const Owner* owner() const { return static_cast<const Owner*>(this); }
  [[nodiscard]] const VakExtension* extension() const { return owner()->_extension; }
  [[nodiscard]] VakExtensionSlot slot() {
    return VakExtensionSlot(VakGetOwnerAllocator(owner()), owner()->_extension);
  }
  template <class Kind>
  [[nodiscard]] typename Kind::EmbeddedType value(const char* name) const {
    typename Kind::EmbeddedType v;
    VakGetPropertyValueI<Kind>(name, owner(), v);
    return v;
  }
};
