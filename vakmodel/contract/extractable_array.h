#pragma once

// Arrays of extractables: what refusals, changes and removals list their objects in.

#include "vakenv/fwd.h"
#include "vakenv/memory/memory_manager.h"

/// Handle of an array of extractables: one pointer, copied freely, never an owner; null when empty.
///
/// The elements are not owned and may be null. The array and its chunks live in the memory of the
/// manager they were made with and are given back by end(). Unless said otherwise the operations
/// require a handle that is not empty, and do not check it.
class VakExtractableArray {
 public:
  /// An empty handle.
  VakExtractableArray() = default;
  /// A handle on an existing array of pointers; null makes an empty handle.
  explicit VakExtractableArray(VakArrayI* impl) : _impl(impl) {}
  /// A new array of `size` null elements in the memory of `manager`. Throws std::bad_alloc.
  explicit VakExtractableArray(VakMemoryManager manager, VakInt size = 0);

  [[nodiscard]] VakArrayI* getImpl() const { return _impl; }
  friend bool operator==(VakExtractableArray a, VakExtractableArray b) {
    return a._impl == b._impl;
  }

  /// Number of elements; 0 for an empty handle.
  [[nodiscard]] VakInt getSize() const;
  /// True when there are no elements or the handle is empty.
  [[nodiscard]] bool isEmpty() const { return getSize() == 0; }
  /// The element at `index`, from 0 below the size: not checked.
  [[nodiscard]] VakExtractableI*& operator[](VakInt index) const;

  /// Appends `e`. Throws what VakArrayI::grow throws, and leaves behind what it leaves.
  void add(VakExtractableI* e) const;
  /// Appends the elements that `other` has now; an empty handle and the array itself are allowed.
  /// Throws as the other form.
  void add(VakExtractableArray other) const;
  /// Removes the last element, which must exist.
  void dropLast() const;
  /// Removes all elements and keeps the storage for further ones.
  void removeAll() const;
  /// The environment whose memory the array lives in; throws
  /// VakEnv::IncompatibleMemoryManagerException when its manager belongs to none.
  [[nodiscard]] VakEnv getEnv() const;
  /// Gives the array back and empties this handle; nothing for an empty handle.
  void end();

  VakArrayI* _impl = nullptr;  ///< The array, not owned; null when the handle is empty.
};
