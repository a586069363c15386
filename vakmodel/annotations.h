#pragma once

// What users attach to objects: given to new objects and copied to clones. And a list of the clones
// that one copying operation made.

#include <vector>

#include "vakmodel/contract/extractable.h"

/// Notes the clones that are made on its thread while it lives, so that an operation that fails can
/// delete them. Notes of an operation within another are the inner one's.
class VakCloneNotesI {
 public:
  VakCloneNotesI() : _outer(_current) { _current = this; }
  ~VakCloneNotesI() { _current = _outer; }
  VakCloneNotesI(const VakCloneNotesI&) = delete;
  VakCloneNotesI& operator=(const VakCloneNotesI&) = delete;

  /// Notes a clone if anybody wants to know. Throws std::bad_alloc.
  static void Note(VakExtractableI* clone) {
    if (_current != nullptr) _current->_clones.push_back(clone);
  }
  /// Deletes the clones, the newest first, so that what refers to others goes before them.
  void deleteAll() {
    for (; !_clones.empty(); _clones.pop_back()) delete _clones.back();
  }

 private:
  inline static thread_local VakCloneNotesI* _current = nullptr;

  VakCloneNotesI* _outer;                 ///< Of the enclosing operation; null for none.
  std::vector<VakExtractableI*> _clones;  ///< Not owned unless deleteAll() is called.
};

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
  try {
    if (original->getName() != nullptr) copy->setName(original->getName());
    if (original->getObject() != nullptr) copy->setObject(original->getObject());
    copy->addProperties(original->getProperties());
    VakCloneNotesI::Note(copy);
  } catch (...) {
    delete copy;
    throw;
  }
  return copy;
}
