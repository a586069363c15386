#pragma once

// What the destroying operators delete of the four object bases have in common.

#include <cstddef>

/// Runs the destructor of `object` and hands the whole object, with its size, to `giveBack`.
/// Whoever calls this has read the object's owner before, because a compiler may drop what is
/// stored in an object whose life ends. An exception of the destructor leaves the storage alone.
template <class Object, class GiveBack>
void VakDestroyAndGiveBack(Object* object, std::size_t size, GiveBack giveBack) {
  void* whole = dynamic_cast<void*>(object);
  object->~Object();
  giveBack(whole, size);
}
