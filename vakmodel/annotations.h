#pragma once

// What users attach to objects: given to new objects and copied to clones.

#include "vakmodel/contract/extractable.h"

/// Gives a new object a name, unless it is null; deletes the object when that throws.
template <class T>
void VakNameNew(T* object, const char* name) {
  if (name == nullptr) return;
  try {
    object->setName(name);
  } catch (...) {
    delete object;
    throw;
  }
}

/// Gives `copy`, which is new, the name, the user object and copies of the properties of
/// `original`; deletes it when that throws. Returns it.
template <class T>
T* VakCopyAnnotations(const VakExtractableI* original, T* copy) {
  if (original->_extension == nullptr) return copy;
  try {
    if (original->getName() != nullptr) copy->setName(original->getName());
    if (original->getObject() != nullptr) copy->setObject(original->getObject());
    copy->addProperties(original->getProperties());
  } catch (...) {
    delete copy;
    throw;
  }
  return copy;
}
