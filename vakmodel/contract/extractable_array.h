#pragma once

// Arrays of extractables: what refusals, changes and removals list their objects in.

#include "vakenv/arrays/array.h"
#include "vakenv/fwd.h"
#include "vakenv/memory/memory_manager.h"

/// Handle of an array of extractables, which it does not own; elements may be null.
///
/// Copied freely, never an owner of the array either; null when empty. The array lives in the
/// memory of the manager it was made with until end(). Unless said otherwise the operations need a
/// handle that is not empty, and do not check it.
///
/// Threads: read-shared: elements are read by several threads while none changes the array.
/// Phases: open, and with a manager of no environment as long as that manager serves.
/// Gives back: end(), which leaves the elements as they are.
class VakExtractableArray : public VakArray<VakExtractableI*> {
 public:
  /// An empty handle.
  VakExtractableArray() = default;
  /// A handle on an existing array of pointers; null makes an empty handle.
  explicit VakExtractableArray(VakArrayI* impl) : VakArray(impl) {}
  /// A new array of `size` null elements in the memory of `manager`. Throws std::bad_alloc.
  explicit VakExtractableArray(VakMemoryManager manager, VakInt size = 0)
      : VakArray(manager, size) {}

  /// Number of elements; 0 for an empty handle.
  [[nodiscard]] VakInt getSize() const { return _impl == nullptr ? 0 : _impl->_size; }
  /// True when there are no elements or the handle is empty.
  [[nodiscard]] bool isEmpty() const { return getSize() == 0; }

  using VakArray::add;
  /// Appends the elements that `other` has now; an empty handle and the array itself are allowed.
  /// Throws as VakArrayI::grow.
  void add(VakExtractableArray other) const {
    if (other._impl != nullptr) _impl->addArray(other._impl);
  }
  /// Removes the last element, which must exist.
  void dropLast() const { --_impl->_size; }
  /// Removes all elements and keeps the storage for further ones.
  void removeAll() const { _impl->_size = 0; }

  // As for every array handle, iterators come from free functions: the member end() ends the array.
  [[nodiscard]] friend VakArrayIterator<VakExtractableI*> begin(VakExtractableArray a) {
    return a.first();
  }
  [[nodiscard]] friend VakArrayIterator<VakExtractableI*> end(VakExtractableArray a) {
    return a.behindLast();
  }
};
