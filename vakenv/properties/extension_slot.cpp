#include "vakenv/properties/extension_slot.h"

#include "vakenv/memory/create.h"
#include "vakenv/memory/gen_alloc.h"
#include "vakenv/properties/property_set.h"

// ---- Reading ------------------------------------------------------------------------------------

const char* VakExtensionSlot::GetName(const VakExtension* extension) {
  return extension == nullptr ? nullptr : extension->_name;
}

VakAny VakExtensionSlot::GetObject(const VakExtension* extension) {
  if (extension == nullptr || extension->_objectExtension == nullptr) return nullptr;
  return extension->_objectExtension->_object;
}

VakNamedPropertySetI* VakExtensionSlot::GetProperties(const VakExtension* extension) {
  if (extension == nullptr || extension->_objectExtension == nullptr) return nullptr;
  return extension->_objectExtension->_properties;
}

VakInt VakExtensionSlot::HasProperty(const VakExtension* extension, const char* name) {
  const VakNamedPropertySetI* set = GetProperties(extension);
  return set != nullptr && set->getElem(name) != nullptr ? 1 : 0;
}

VakNamedPropertyI* VakExtensionSlot::GetProperty(const VakExtension* extension, const char* name) {
  const VakNamedPropertySetI* set = GetProperties(extension);
  if (set == nullptr) throw VakNamedPropertySet::NotPresent(name, nullptr);
  return set->getProperty(name);
}

VakInt VakExtensionSlot::HasProperty(const VakExtension* extension, std::string_view name) {
  const VakNamedPropertySetI* set = GetProperties(extension);
  return set != nullptr && set->getElem(name) != nullptr ? 1 : 0;
}

VakNamedPropertyI* VakExtensionSlot::GetProperty(const VakExtension* extension,
                                                 std::string_view name) {
  const VakNamedPropertySetI* set = GetProperties(extension);
  if (set == nullptr) VakThrowNotPresent(name);
  return set->getProperty(name);
}

// ---- Writing ------------------------------------------------------------------------------------

void VakExtensionSlot::setName(const char* name) const {
  if (*_slot == nullptr && name == nullptr) return;
  VakExtension::getOrMake(_allocator, _slot)->setName(_allocator, name);
}

void VakExtensionSlot::setObject(void* object) const {
  if (*_slot == nullptr && object == nullptr) return;
  VakExtension::getOrMake(_allocator, _slot)->setObject(_allocator, object);
}

void VakExtensionSlot::setProperties(VakNamedPropertySetI* set) const {
  if (set != nullptr) {
    VakExtension::getOrMake(_allocator, _slot)->getOrMakeObjectExtension(_allocator);
  }
  if (*_slot != nullptr) (*_slot)->setProperties(set);
}

VakNamedPropertySetI* VakExtensionSlot::getOrMakeSet() const {
  if (VakNamedPropertySetI* held = GetProperties(*_slot)) return held;
  VakExtension::getOrMake(_allocator, _slot);
  auto* set = VakCreate<VakNamedPropertySetI>(_allocator);
  try {
    setProperties(set);
  } catch (...) {
    delete set;
    throw;
  }
  return set;
}

void VakExtensionSlot::addProperty(VakNamedPropertyI* property) const {
  getOrMakeSet()->addProperty(property);
}

void VakExtensionSlot::addClonedProperty(VakNamedPropertyI* property) const {
  getOrMakeSet()->addClonedProperty(property);
}

void VakExtensionSlot::addProperties(const VakNamedPropertySetI* set) const {
  if (set == nullptr) return;
  for (const auto* entry = set->_first; entry != nullptr; entry = entry->_next) {
    addClonedProperty(entry->_property);
  }
}

void VakExtensionSlot::removeProperty(const char* name) const {
  VakNamedPropertySetI* set = GetProperties(*_slot);
  if (set == nullptr) throw VakNamedPropertySet::NotPresent(name, nullptr);
  set->removeProperty(name);
}

void VakExtensionSlot::removeProperty(std::string_view name) const {
  VakNamedPropertySetI* set = GetProperties(*_slot);
  if (set == nullptr) VakThrowNotPresent(name);
  set->removeProperty(name);
}

void VakExtensionSlot::removeProperty(VakNamedPropertyI* property) const {
  VakNamedPropertySetI* set = GetProperties(*_slot);
  if (set == nullptr) throw VakNamedPropertySet::NotPresent(property->getName(), property);
  set->removeProperty(property);
}

void VakExtensionSlot::end() const {
  if (*_slot == nullptr) return;
  VakExtension* extension = *_slot;
  const auto giveBack = [&] {
    *_slot = nullptr;
    _allocator->free(extension, sizeof(VakExtension));
  };
  try {
    extension->end(_allocator);
  } catch (...) {
    giveBack();
    throw;
  }
  giveBack();
}
