#include "vakenv/properties/property_set.h"

#include <ostream>

#include "vakbase/error_text.h"
#include "vakenv/memory/create.h"
#include "vakenv/properties/text.h"
#include "vakenv/types/exceptions.h"

namespace {

VakNamedPropertyI* required(VakNamedProperty property) {
  property.requireImpl();
  return property.getImpl();
}

}  // namespace

// ---- Exceptions ---------------------------------------------------------------------------------

VakNamedPropertySet::BadType::BadType(const char* name) : VakException(name, 0) {}
VakNamedPropertySet::BadType::~BadType() = default;

void VakNamedPropertySet::BadType::print(std::ostream& out) const {
  out << "Named property <";
  VakWriteText(out, getMessage());
  out << "> has wrong type";
}

VakNamedPropertySet::AlreadyPresent::AlreadyPresent(const char* name) : VakException(name, 0) {}
VakNamedPropertySet::AlreadyPresent::~AlreadyPresent() = default;

void VakNamedPropertySet::AlreadyPresent::print(std::ostream& out) const {
  out << "Named property <";
  VakWriteText(out, getMessage());
  out << "> already present";
}

VakNamedPropertySet::NotPresent::NotPresent(const char* name, const VakNamedPropertyI* property)
    : VakException(name, 0), _property(property) {}
VakNamedPropertySet::NotPresent::~NotPresent() = default;

void VakNamedPropertySet::NotPresent::print(std::ostream& out) const {
  out << "Named property <";
  if (_property != nullptr) {
    out << static_cast<const void*>(_property);
  } else {
    VakWriteText(out, getMessage());
  }
  out << "> not present";
}

namespace {

// The exceptions that hold a copy of the name. The message of the base always points into the text
// of the same object.

class OwnedNotPresent : private VakErrorText, public VakNamedPropertySet::NotPresent {
 public:
  explicit OwnedNotPresent(std::string_view name)
      : VakErrorText(name), NotPresent(VakErrorText::text(), nullptr) {}
  OwnedNotPresent(const OwnedNotPresent& other) : OwnedNotPresent(other.text()) {}
  OwnedNotPresent& operator=(const OwnedNotPresent&) = delete;
  ~OwnedNotPresent() override = default;
};

class OwnedBadType : private VakErrorText, public VakNamedPropertySet::BadType {
 public:
  explicit OwnedBadType(std::string_view name)
      : VakErrorText(name), BadType(VakErrorText::text()) {}
  OwnedBadType(const OwnedBadType& other) : OwnedBadType(other.text()) {}
  OwnedBadType& operator=(const OwnedBadType&) = delete;
  ~OwnedBadType() override = default;
};

}  // namespace

void VakThrowNotPresent(std::string_view name) { throw OwnedNotPresent(name); }

void VakThrowBadType(std::string_view name) { throw OwnedBadType(name); }

// ---- The handle ---------------------------------------------------------------------------------

VakNamedPropertySet::VakNamedPropertySet(VakMemoryManager manager)
    : _impl(VakCreate<VakNamedPropertySetI>(manager)) {}

VakNamedPropertySetI& VakNamedPropertySet::impl() const {
  if (_impl == nullptr) throw VakEmptyHandleException("VakNamedPropertySet: Using empty handle");
  return *_impl;
}

void VakNamedPropertySet::fastAdd(VakNamedProperty property) const {
  impl().fastAdd(required(property));
}

void VakNamedPropertySet::addProperty(VakNamedProperty property) const {
  impl().addProperty(required(property));
}

void VakNamedPropertySet::addClonedProperty(VakNamedProperty property) const {
  impl().addClonedProperty(required(property));
}

bool VakNamedPropertySet::hasProperty(const char* name) const {
  return impl().getElem(name) != nullptr;
}

bool VakNamedPropertySet::hasProperty(VakNamedProperty property) const {
  return impl().getElem(required(property)) != nullptr;
}

VakNamedProperty VakNamedPropertySet::getProperty(const char* name) const {
  return VakNamedProperty(impl().getProperty(name));
}

void VakNamedPropertySet::removeProperty(const char* name) const { impl().removeProperty(name); }

bool VakNamedPropertySet::hasProperty(std::string_view name) const {
  return impl().getElem(name) != nullptr;
}

VakNamedProperty VakNamedPropertySet::getProperty(std::string_view name) const {
  return VakNamedProperty(impl().getProperty(name));
}

void VakNamedPropertySet::removeProperty(std::string_view name) const {
  impl().removeProperty(name);
}

void VakNamedPropertySet::removeProperty(VakNamedProperty property) const {
  impl().removeProperty(required(property));
}

void VakNamedPropertySet::removeAllProperties() const { impl().removeAllProperties(); }

VakNamedPropertySet VakNamedPropertySet::makeClone(VakMemoryManager manager) const {
  return VakNamedPropertySet(impl().makeClone(manager));
}

VakNamedPropertySet VakNamedPropertySet::makeDeepCopy(VakMemoryManager manager) const {
  return VakNamedPropertySet(impl().makeDeepCopy(manager));
}

VakNamedPropertySet::Range VakNamedPropertySet::all() const { return Range(_impl); }

std::ostream& operator<<(std::ostream& out, VakNamedPropertySet set) {
  out << '{';
  const char* separator = "";
  for (const VakNamedProperty property : set.all()) {
    out << separator << property;
    separator = ", ";
  }
  return out << '}';
}

void VakNamedPropertySet::end() {
  VakNamedPropertySetI* set = &impl();
  _impl = nullptr;
  delete set;
}
