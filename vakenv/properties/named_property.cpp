#include "vakenv/properties/named_property.h"

#include <ostream>

#include "vakenv/types/exceptions.h"

void VakNamedProperty::requireImpl() const {
  if (_impl == nullptr) throw VakEmptyHandleException("VakNamedProperty: Using empty handle");
}

const char* VakNamedProperty::getName() const {
  requireImpl();
  return _impl->getName();
}

void VakNamedProperty::display(std::ostream& out) const { _impl->display(out); }

VakNamedProperty VakNamedProperty::makeClone(VakMemoryManager manager) const {
  return VakNamedProperty(_impl->makeClone(manager));
}

void VakNamedProperty::end() {
  requireImpl();
  delete _impl;
  _impl = nullptr;
}

std::ostream& operator<<(std::ostream& out, VakNamedProperty property) {
  property.display(out);
  return out;
}
