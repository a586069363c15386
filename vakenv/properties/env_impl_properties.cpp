// Name, user object and properties of the environment object.

#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/tarn_alloc.h"
#include "vakenv/properties/extension_slot.h"
#include "vakenv/properties/typed_properties.h"

namespace {

VakExtensionSlot slotOf(VakEnvI& env) { return VakExtensionSlot(env._allocator, env._extension); }

template <class Kind>
typename Kind::EmbeddedType valueOf(const VakEnvI* env, const char* name) {
  typename Kind::EmbeddedType value;
  VakGetPropertyValueI<Kind>(name, env, value);
  return value;
}

}  // namespace

VakGenAlloc* VakGetOwnerAllocator(const VakEnvI* owner) { return owner->_allocator; }

const char* VakEnvI::getName() const { return VakExtensionSlot::GetName(_extension); }
void VakEnvI::setName(const char* name) { slotOf(*this).setName(name); }

VakAny VakEnvI::getObject() const { return VakExtensionSlot::GetObject(_extension); }
void VakEnvI::setObject(VakAny object) { slotOf(*this).setObject(object); }

VakNamedPropertySetI* VakEnvI::getProperties() const {
  return VakExtensionSlot::GetProperties(_extension);
}
void VakEnvI::setProperties(VakNamedPropertySetI* set) { slotOf(*this).setProperties(set); }

VakInt VakEnvI::hasProperty(const char* name) const {
  return VakExtensionSlot::HasProperty(_extension, name);
}
VakNamedPropertyI* VakEnvI::getProperty(const char* name) const {
  return VakExtensionSlot::GetProperty(_extension, name);
}

void VakEnvI::addProperty(VakNamedPropertyI* p) { slotOf(*this).addProperty(p); }
void VakEnvI::addClonedProperty(VakNamedPropertyI* p) { slotOf(*this).addClonedProperty(p); }
void VakEnvI::addProperties(VakNamedPropertySetI* set) { slotOf(*this).addProperties(set); }

void VakEnvI::removeProperty(const char* name) { slotOf(*this).removeProperty(name); }
void VakEnvI::removeProperty(VakNamedPropertyI* p) { slotOf(*this).removeProperty(p); }
void VakEnvI::removeAllProperties() { slotOf(*this).removeAllProperties(); }

VakInt VakEnvI::getIntProperty(const char* name) const {
  return valueOf<VakNamedIntProperty>(this, name);
}
VakNum VakEnvI::getNumProperty(const char* name) const {
  return valueOf<VakNamedNumProperty>(this, name);
}
VakAny VakEnvI::getAnyProperty(const char* name) const {
  return valueOf<VakNamedAnyProperty>(this, name);
}
const char* VakEnvI::getStringProperty(const char* name) const {
  return valueOf<VakNamedStringProperty>(this, name);
}

void VakEnvI::setIntProperty(const char* name, VakInt value) {
  VakSetPropertyValueI<VakNamedIntProperty>(name, this, value);
}
void VakEnvI::setNumProperty(const char* name, VakNum value) {
  VakSetPropertyValueI<VakNamedNumProperty>(name, this, value);
}
void VakEnvI::setAnyProperty(const char* name, VakAny value) {
  VakSetPropertyValueI<VakNamedAnyProperty>(name, this, value);
}
void VakEnvI::setStringProperty(const char* name, const char* value) {
  VakSetPropertyValueI<VakNamedStringProperty>(name, this, value);
}
