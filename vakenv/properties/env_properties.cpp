// The property operations of the environment's handle: the handle is tested first, then the
// argument, then the environment does the work.

#include "vakbase/terminated_text.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/env.h"
#include "vakenv/properties/extension_slot.h"
#include "vakenv/properties/named_property.h"
#include "vakenv/properties/property_set.h"
#include "vakenv/properties/typed_properties.h"
#include "vakenv/types/exceptions.h"

namespace {

VakEnvI& tested(VakEnv env) {
  if (env.getImpl() == nullptr) throw VakEmptyHandleException("VakEnv: Using empty handle");
  return *env.getImpl();
}

VakEnvI& tested(VakEnv env, const char* name) {
  VakEnvI& impl = tested(env);
  if (name == nullptr) throw VakEmptyHandleException("VakEnv: Using empty string");
  return impl;
}

VakEnvI& tested(VakEnv env, VakNamedProperty property) {
  VakEnvI& impl = tested(env);
  property.requireImpl();
  return impl;
}

VakEnvI& tested(VakEnv env, VakNamedPropertySet set) {
  VakEnvI& impl = tested(env);
  if (set.getImpl() == nullptr) {
    throw VakEmptyHandleException("VakNamedPropertySet: Using empty handle");
  }
  return impl;
}

}  // namespace

const char* VakEnv::getName() const { return tested(*this).getName(); }
void VakEnv::setName(const char* name) const { tested(*this).setName(name); }

VakAny VakEnv::getObject() const { return tested(*this).getObject(); }
void VakEnv::setObject(VakAny object) const { tested(*this).setObject(object); }

VakNamedPropertySet VakEnv::getProperties() const {
  return VakNamedPropertySet(tested(*this).getProperties());
}
void VakEnv::setProperties(VakNamedPropertySet set) const {
  tested(*this, set).setProperties(set.getImpl());
}

VakInt VakEnv::hasProperty(const char* name) const { return tested(*this, name).hasProperty(name); }
VakNamedProperty VakEnv::getProperty(const char* name) const {
  return VakNamedProperty(tested(*this, name).getProperty(name));
}
VakNamedPropertyI* VakEnv::getPropertyI(const char* name) const {
  return tested(*this, name).getProperty(name);
}

void VakEnv::addProperty(VakNamedProperty property) const {
  tested(*this, property).addProperty(property.getImpl());
}
void VakEnv::addClonedProperty(VakNamedProperty property) const {
  tested(*this, property).addClonedProperty(property.getImpl());
}
void VakEnv::addProperties(VakNamedPropertySet set) const {
  tested(*this, set).addProperties(set.getImpl());
}

void VakEnv::removeProperty(const char* name) const { tested(*this, name).removeProperty(name); }
void VakEnv::removeAllProperties() const { tested(*this).removeAllProperties(); }

VakInt VakEnv::getIntProperty(const char* name) const {
  return tested(*this, name).getIntProperty(name);
}
VakNum VakEnv::getNumProperty(const char* name) const {
  return tested(*this, name).getNumProperty(name);
}
VakAny VakEnv::getAnyProperty(const char* name) const {
  return tested(*this, name).getAnyProperty(name);
}
const char* VakEnv::getStringProperty(const char* name) const {
  return tested(*this, name).getStringProperty(name);
}

void VakEnv::setIntProperty(const char* name, VakInt value) const {
  tested(*this, name).setIntProperty(name, value);
}
void VakEnv::setNumProperty(const char* name, VakNum value) const {
  tested(*this, name).setNumProperty(name, value);
}
void VakEnv::setAnyProperty(const char* name, VakAny value) const {
  tested(*this, name).setAnyProperty(name, value);
}
void VakEnv::setStringProperty(const char* name, const char* value) const {
  tested(*this, name).setStringProperty(name, value);
}

// ---- Names of a known length --------------------------------------------------------------------

namespace {

template <class Kind>
typename Kind::EmbeddedType valueOf(VakEnv env, std::string_view name) {
  return VakAsPropertyKind<Kind>(name, env.getProperty(name).getImpl()).getValue();
}

template <class Kind>
void setValueOf(VakEnv env, std::string_view name, typename Kind::EmbeddedType value) {
  VakSetPropertyValueI<Kind>(name, &tested(env), value);
}

}  // namespace

void VakEnv::setName(std::string_view name) const {
  tested(*this).setName(VakTerminatedText(name).get());
}

VakInt VakEnv::hasProperty(std::string_view name) const {
  return VakExtensionSlot::HasProperty(tested(*this)._extension, name);
}
VakNamedProperty VakEnv::getProperty(std::string_view name) const {
  return VakNamedProperty(VakExtensionSlot::GetProperty(tested(*this)._extension, name));
}
void VakEnv::removeProperty(std::string_view name) const {
  VakEnvI& impl = tested(*this);
  VakExtensionSlot(VakGetOwnerAllocator(&impl), impl._extension).removeProperty(name);
}

VakInt VakEnv::getIntProperty(std::string_view name) const {
  return valueOf<VakNamedIntProperty>(*this, name);
}
VakNum VakEnv::getNumProperty(std::string_view name) const {
  return valueOf<VakNamedNumProperty>(*this, name);
}
VakAny VakEnv::getAnyProperty(std::string_view name) const {
  return valueOf<VakNamedAnyProperty>(*this, name);
}
const char* VakEnv::getStringProperty(std::string_view name) const {
  return valueOf<VakNamedStringProperty>(*this, name);
}

void VakEnv::setIntProperty(std::string_view name, VakInt value) const {
  setValueOf<VakNamedIntProperty>(*this, name, value);
}
void VakEnv::setNumProperty(std::string_view name, VakNum value) const {
  setValueOf<VakNamedNumProperty>(*this, name, value);
}
void VakEnv::setAnyProperty(std::string_view name, VakAny value) const {
  setValueOf<VakNamedAnyProperty>(*this, name, value);
}
void VakEnv::setStringProperty(std::string_view name, const char* value) const {
  setValueOf<VakNamedStringProperty>(*this, name, value);
}
void VakEnv::setStringProperty(std::string_view name, std::string_view value) const {
  setStringProperty(name, VakTerminatedText(value).get());
}
