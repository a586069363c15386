#include "vakmodel/contract/extractable_array.h"

#include "vakenv/arrays/array_impl.h"
#include "vakenv/memory/create.h"
#include "vakenv/memory/env.h"

namespace {

constexpr VakInt ElementSize = sizeof(VakExtractableI*);

}  // namespace

VakExtractableArray::VakExtractableArray(VakMemoryManager manager, VakInt size)
    : _impl(VakCreate<VakArrayI>(manager, size, ElementSize)) {}

VakInt VakExtractableArray::getSize() const { return _impl == nullptr ? 0 : _impl->getSize(); }

VakExtractableI*& VakExtractableArray::operator[](VakInt index) const {
  return *reinterpret_cast<VakExtractableI**>(_impl->element(index));
}

void VakExtractableArray::add(VakExtractableI* e) const { _impl->addElements(&e, 1); }

void VakExtractableArray::add(VakExtractableArray other) const {
  if (other._impl != nullptr) _impl->addArray(other._impl);
}

void VakExtractableArray::dropLast() const { --_impl->_size; }

void VakExtractableArray::removeAll() const { _impl->_size = 0; }

VakEnv VakExtractableArray::getEnv() const { return _impl->getEnv(); }

void VakExtractableArray::end() {
  VakArrayI* array = _impl;
  _impl = nullptr;
  delete array;
}
