#include "vakenv/properties/extension.h"

#include <cstring>
#include <new>

#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/create.h"
#include "vakenv/memory/tarn_alloc.h"
#include "vakenv/properties/property_set_impl.h"
#include "vakenv/properties/text.h"

namespace {

void freeText(VakGenAlloc* allocator, char* text) {
  if (text != nullptr) allocator->free(text, std::strlen(text) + 1);
}

char* copyText(VakGenAlloc* allocator, const char* text) {
  if (text == nullptr) return nullptr;
  const unsigned long size = std::strlen(text) + 1;
  return static_cast<char*>(std::memcpy(allocator->alloc(size), text, size));
}

}  // namespace

// ---- VakObjectExtension -------------------------------------------------------------------------

void VakExtension::VakObjectExtension::createProperties(VakGenAlloc* allocator) {
  _properties = VakCreate<VakNamedPropertySetI>(allocator);
}

void VakExtension::VakObjectExtension::end() {
  // A property's destructor may still read the user object, and may add a property, which makes
  // another set. The pointer never stays on a set that is being deleted.
  try {
    while (VakNamedPropertySetI* held = std::exchange(_properties, nullptr)) delete held;
  } catch (...) {
    _object = nullptr;
    throw;
  }
  _object = nullptr;
}

// ---- VakExtension -------------------------------------------------------------------------------

VakExtension::VakExtension(VakGenAlloc* allocator, const char* name, void* object)
    : VakExtension() {
  try {
    if (name != nullptr) setName(allocator, name);
    if (object != nullptr) setObject(allocator, object);
  } catch (...) {
    end(allocator);
    throw;
  }
}

VakExtension::VakExtension(VakEnvI* env, const char* name, void* object)
    : VakExtension(env->_allocator, name, object) {}

VakExtension* VakExtension::getOrMake(VakGenAlloc* allocator, VakExtension** slot) {
  if (*slot == nullptr) *slot = ::new (allocator->alloc(sizeof(VakExtension))) VakExtension();
  return *slot;
}

VakExtension* VakExtension::getOrMake(VakEnvI* env, VakExtension** slot) {
  return getOrMake(env->_allocator, slot);
}

VakExtension::VakObjectExtension* VakExtension::getOrMakeObjectExtension(VakGenAlloc* allocator) {
  if (_objectExtension == nullptr) {
    _objectExtension = ::new (allocator->alloc(sizeof(VakObjectExtension))) VakObjectExtension();
  }
  return _objectExtension;
}

void VakExtension::setName(VakGenAlloc* allocator, const char* name) {
  if (VakLiesInside(name, _name)) {
    char* copy = copyText(allocator, name);
    freeText(allocator, _name);
    _name = copy;
    return;
  }
  freeText(allocator, _name);
  _name = nullptr;
  _name = copyText(allocator, name);
}

void VakExtension::setName(VakEnvI* env, const char* name) { setName(env->_allocator, name); }

void VakExtension::setObject(VakGenAlloc* allocator, void* object) {
  getOrMakeObjectExtension(allocator)->_object = object;
}

void VakExtension::setObject(VakEnvI* env, void* object) { setObject(env->_allocator, object); }

// The new set is taken over also when deleting the old one throws. The pointer is empty meanwhile,
// so that it never stays on a half-deleted set; a set that a property's destructor makes there goes
// as well.
void VakExtension::setProperties(VakNamedPropertySetI* set) {
  if (_objectExtension == nullptr) {
    if (set != nullptr) getOrMakeObjectExtension(set->_memoryManager)->_properties = set;
    return;
  }
  VakNamedPropertySetI*& place = _objectExtension->_properties;
  try {
    while (VakNamedPropertySetI* held = std::exchange(place, nullptr)) delete held;
  } catch (...) {
    place = set;
    throw;
  }
  place = set;
}

void VakExtension::end(VakGenAlloc* allocator) {
  try {
    if (_objectExtension != nullptr) _objectExtension->end();
  } catch (...) {
    giveBackRecords(allocator);
    throw;
  }
  giveBackRecords(allocator);
}

// What a property's destructor threw is no reason to keep the records.
void VakExtension::giveBackRecords(VakGenAlloc* allocator) {
  allocator->free(_objectExtension, sizeof(VakObjectExtension));
  _objectExtension = nullptr;
  freeText(allocator, _name);
  _name = nullptr;
}

void VakExtension::end(VakEnvI* env) { end(env->_allocator); }
