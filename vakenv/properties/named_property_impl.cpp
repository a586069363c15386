#include "vakenv/properties/named_property_impl.h"

#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/create.h"
#include "vakenv/memory/env.h"
#include "vakenv/properties/text.h"

namespace {

constexpr const char* DangerousDeletion = "Dangerous deletion of named property";

// What the Int, Num and Any kinds display.
template <class T>
void displayValue(std::ostream& out, const char* name, T value) {
  VakWriteText(out, name);
  out << " (" << value << ")";
}

}  // namespace

// ---- VakNamedPropertyI --------------------------------------------------------------------------

VakNamedPropertyI::Exception::Exception(const char* message) : VakException(message, 0) {}
VakNamedPropertyI::Exception::~Exception() = default;

VakNamedPropertyI::VakNamedPropertyI(VakMemoryManager manager)
    : VakRttiMemoryManagerObjectI(manager), _holders(0) {}

VakNamedPropertyI::~VakNamedPropertyI() noexcept(false) {
  if (_holders != 0) throw VakWrongUsage(DangerousDeletion);
}

void VakNamedPropertyI::display(std::ostream& out) const { VakWriteText(out, getName()); }

VakNamedPropertyI* VakNamedPropertyI::makeClone(VakMemoryManager /*manager*/) const {
  throw Exception("Cloning of VakNamedProperty forbidden - makeClone(VakEnv) has not been defined");
}

char* VakNamedPropertyI::cloneString(const char* text) const {
  if (text == nullptr) return nullptr;
  return getEnv().getImpl()->strDup(text);
}

void VakNamedPropertyI::freeString(char* text) const {
  if (text == nullptr) return;
  getEnv().getImpl()->strFree(text);
}

void VakNamedPropertyI::operator delete(VakNamedPropertyI* property, std::destroying_delete_t how,
                                        std::size_t size) noexcept(false) {
  if (property->_holders != 0) throw VakWrongUsage(DangerousDeletion);
  VakRttiMemoryManagerObjectI::operator delete(property, how, size);
}

void VakNamedPropertyI::operator delete(void* p, unsigned long size) noexcept(false) {
  VakRttiMemoryManagerObjectI::operator delete(p, size);
}

// ---- VakPreNamedPropertyI -----------------------------------------------------------------------

VakPreNamedPropertyI::VakPreNamedPropertyI(VakMemoryManager manager, const char* name)
    : VakNamedPropertyI(manager), _name(manager.getImpl()->intern(name)) {}

VakPreNamedPropertyI::~VakPreNamedPropertyI() noexcept(false) = default;

const char* VakPreNamedPropertyI::getName() const { return _name; }

VakNamedPropertyI* VakPreNamedPropertyI::makeClone(VakMemoryManager manager) const {
  return VakCreate<VakPreNamedPropertyI>(manager, getName());
}

// ---- The kinds ----------------------------------------------------------------------------------

VakNamedIntPropertyI::VakNamedIntPropertyI(VakMemoryManager manager, const char* name, VakInt value)
    : VakPreNamedPropertyI(manager, name), _value(value) {}

VakNamedIntPropertyI::~VakNamedIntPropertyI() noexcept(false) = default;

void VakNamedIntPropertyI::display(std::ostream& out) const {
  displayValue(out, getName(), _value);
}

VakNamedPropertyI* VakNamedIntPropertyI::makeClone(VakMemoryManager manager) const {
  return VakCreate<VakNamedIntPropertyI>(manager, getName(), _value);
}

VakNamedNumPropertyI::VakNamedNumPropertyI(VakMemoryManager manager, const char* name, VakNum value)
    : VakPreNamedPropertyI(manager, name), _value(value) {}

VakNamedNumPropertyI::~VakNamedNumPropertyI() noexcept(false) = default;

void VakNamedNumPropertyI::display(std::ostream& out) const {
  displayValue(out, getName(), _value);
}

VakNamedPropertyI* VakNamedNumPropertyI::makeClone(VakMemoryManager manager) const {
  return VakCreate<VakNamedNumPropertyI>(manager, getName(), _value);
}

VakNamedAnyPropertyI::VakNamedAnyPropertyI(VakMemoryManager manager, const char* name, VakAny value)
    : VakPreNamedPropertyI(manager, name), _value(value) {}

VakNamedAnyPropertyI::~VakNamedAnyPropertyI() noexcept(false) = default;

void VakNamedAnyPropertyI::display(std::ostream& out) const {
  displayValue(out, getName(), _value);
}

VakNamedPropertyI* VakNamedAnyPropertyI::makeClone(VakMemoryManager manager) const {
  return VakCreate<VakNamedAnyPropertyI>(manager, getName(), _value);
}

VakNamedStringPropertyI::VakNamedStringPropertyI(VakMemoryManager manager, const char* name,
                                                 const char* value)
    : VakPreNamedPropertyI(manager, name), _value(cloneString(value)) {}

VakNamedStringPropertyI::~VakNamedStringPropertyI() noexcept(false) { freeString(_value); }

void VakNamedStringPropertyI::display(std::ostream& out) const {
  VakWriteText(out, getName());
  out << "(";
  VakWriteText(out, _value);
  out << ")";
}

VakNamedPropertyI* VakNamedStringPropertyI::makeClone(VakMemoryManager manager) const {
  return VakCreate<VakNamedStringPropertyI>(manager, getName(), _value);
}

void VakNamedStringPropertyI::setValue(const char* value) {
  if (VakLiesInside(value, _value)) {
    char* copy = cloneString(value);
    freeString(_value);
    _value = copy;
    return;
  }
  freeString(_value);
  _value = nullptr;
  _value = cloneString(value);
}
