#include "vakenv/properties/property_set_impl.h"

#include <cstring>

#include "vakbase/fault_text.h"
#include "vakbase/memory_inspection.h"
#include "vakenv/memory/create.h"
#include "vakenv/properties/named_property_impl.h"
#include "vakenv/properties/property_set.h"
#include "vakenv/types/exceptions.h"

VakNamedPropertySetI::VakNamedPropertySetI(VakMemoryManager manager)
    : VakMemoryManagerObjectI(manager), _first(nullptr) {}

VakNamedPropertySetI::~VakNamedPropertySetI() noexcept(false) { removeAllProperties(); }

// ---- Insertion ----------------------------------------------------------------------------------

VakNamedPropertySetI::PropertyList* VakNamedPropertySetI::makeEntry(
    VakNamedPropertyI* property) const {
  void* block = _memoryManager->alloc(sizeof(PropertyList));
  return ::new (block) PropertyList{property, nullptr, nullptr};
}

void VakNamedPropertySetI::fastAdd(VakNamedPropertyI* property) {
  PropertyList* entry = makeEntry(property);
  ++property->_holders;
  entry->_next = _first;
  if (_first != nullptr) _first->_previous = entry;
  _first = entry;
}

void VakNamedPropertySetI::addProperty(VakNamedPropertyI* property) {
  if (property->_memoryManager != _memoryManager) throw VakEnvironmentMismatch();
  const char* name = property->getName();
  if (getElem(name) != nullptr) throw VakNamedPropertySet::AlreadyPresent(name);
  fastAdd(property);
}

void VakNamedPropertySetI::addClonedProperty(VakNamedPropertyI* property) {
  const char* name = property->getName();
  if (getElem(name) != nullptr) throw VakNamedPropertySet::AlreadyPresent(name);
  VakNamedPropertyI* clone = property->makeClone(_memoryManager);
  try {
    fastAdd(clone);
  } catch (...) {
    delete clone;
    throw;
  }
}

// ---- Lookup -------------------------------------------------------------------------------------

VakNamedPropertySetI::PropertyList* VakNamedPropertySetI::getElem(const char* name) const {
  if (name == nullptr) return nullptr;
  for (PropertyList* entry = _first; entry != nullptr; entry = entry->_next) {
    const char* found = entry->_property->getName();
    if (found == nullptr) continue;
    if (found == name || std::strcmp(found, name) == 0) return entry;
  }
  return nullptr;
}

VakNamedPropertySetI::PropertyList* VakNamedPropertySetI::getElem(std::string_view name) const {
  for (PropertyList* entry = _first; entry != nullptr; entry = entry->_next) {
    const char* found = entry->_property->getName();
    if (found != nullptr && name == found) return entry;
  }
  return nullptr;
}

VakNamedPropertySetI::PropertyList* VakNamedPropertySetI::getElem(
    const VakNamedPropertyI* property) const {
  PropertyList* entry = _first;
  while (entry != nullptr && entry->_property != property) entry = entry->_next;
  return entry;
}

VakNamedPropertyI* VakNamedPropertySetI::getProperty(const char* name) const {
  const PropertyList* entry = getElem(name);
  if (entry == nullptr) throw VakNamedPropertySet::NotPresent(name, nullptr);
  return entry->_property;
}

VakNamedPropertyI* VakNamedPropertySetI::getProperty(std::string_view name) const {
  const PropertyList* entry = getElem(name);
  if (entry == nullptr) VakThrowNotPresent(name);
  return entry->_property;
}

// ---- Removal ------------------------------------------------------------------------------------

void VakNamedPropertySetI::removeProperty(const char* name) {
  PropertyList* entry = getElem(name);
  if (entry == nullptr) throw VakNamedPropertySet::NotPresent(name, nullptr);
  remove(entry);
}

void VakNamedPropertySetI::removeProperty(std::string_view name) {
  PropertyList* entry = getElem(name);
  if (entry == nullptr) VakThrowNotPresent(name);
  remove(entry);
}

void VakNamedPropertySetI::removeProperty(VakNamedPropertyI* property) {
  PropertyList* entry = getElem(property);
  if (entry == nullptr) throw VakNamedPropertySet::NotPresent(property->getName(), property);
  remove(entry);
}

void VakNamedPropertySetI::remove(PropertyList* entry) {
  VakNamedPropertyI* property = entry->_property;
  const bool unlinked = entry == _first || entry->_previous != nullptr;
  if (entry->_previous != nullptr) entry->_previous->_next = entry->_next;
  if (entry->_next != nullptr) entry->_next->_previous = entry->_previous;
  if (entry == _first) _first = entry->_next;
  if (unlinked) _memoryManager->free(entry, sizeof(PropertyList));
  if (--property->_holders == 0) delete property;
}

void VakNamedPropertySetI::removeAllProperties() {
  while (_first != nullptr) remove(_first);
}

// ---- Copies -------------------------------------------------------------------------------------

// A new entry with a copy of `property` in this set's memory manager, linked to nothing and holding
// nothing. Nothing remains when it fails.
VakNamedPropertySetI::PropertyList* VakNamedPropertySetI::makeClonedEntry(
    const VakNamedPropertyI* property) const {
  VakNamedPropertyI* clone = property->makeClone(_memoryManager);
  try {
    return makeEntry(clone);
  } catch (...) {
    delete clone;
    throw;
  }
}

VakNamedPropertySetI* VakNamedPropertySetI::makeClone(VakMemoryManager manager) const {
  auto* clone = VakCreate<VakNamedPropertySetI>(manager);
  PropertyList** tail = &clone->_first;
  for (const PropertyList* entry = _first; entry != nullptr; entry = entry->_next) {
    *tail = clone->makeClonedEntry(entry->_property);
    tail = &(*tail)->_next;
  }
  return clone;
}

VakNamedPropertySetI* VakNamedPropertySetI::makeDeepCopy(VakMemoryManager manager) const {
  auto* copy = VakCreate<VakNamedPropertySetI>(manager);
  try {
    PropertyList* last = nullptr;
    for (const PropertyList* entry = _first; entry != nullptr; entry = entry->_next) {
      PropertyList* added = copy->makeClonedEntry(entry->_property);
      ++added->_property->_holders;
      added->_previous = last;
      (last == nullptr ? copy->_first : last->_next) = added;
      last = added;
    }
  } catch (...) {
    delete copy;
    throw;
  }
  return copy;
}

std::string VakNamedPropertySetI::check(
    const VakMemoryInspection* pool,
    std::unordered_map<const VakNamedPropertyI*, VakInt>* entries) const {
  const auto next = [](const PropertyList* entry) { return entry->_next; };
  const PropertyList* before = nullptr;
  return VakCheckChain(_first, next, [&](const PropertyList* entry) -> std::string {
    if (VakIsGone(pool, entry)) return "the list leads into free memory";
    const void* property = entry->_property;
    if (property == nullptr || VakIsGone(pool, property)) {
      return VakFaultText("property ", property, " is free memory");
    }
    if (entry->_previous != nullptr && entry->_previous != before) {
      return VakFaultText("the previous link of the entry of property ", property, " is wrong");
    }
    before = entry;
    const VakInt holders = entry->_property->_holders;
    if (entries == nullptr || holders <= 0) return "";
    const VakInt count = ++(*entries)[entry->_property];
    if (holders >= count) return "";
    return VakFaultText("property ", property, " is held ", holders, " times and stands in ", count,
                        " entries");
  });
}

bool VakNamedPropertySetI::isConsistent() const {
  const PropertyList* previous = nullptr;
  for (const PropertyList* entry = _first; entry != nullptr; entry = entry->_next) {
    if (entry->_previous != previous || entry->_property->_holders < 1) return false;
    previous = entry;
  }
  return true;
}
