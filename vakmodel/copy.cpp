#include "vakmodel/copy.h"

#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/registry/clone_manager.h"
#include "vakmodel/annotations.h"
#include "vakmodel/contract/expander.h"
#include "vakmodel/contract/extractable.h"
#include "vakmodel/env_check.h"
#include "vakmodel/object_text.h"

VakExtractableI* VakObjectMap::find(VakExtractableI* original) const {
  if (original == nullptr) return nullptr;
  const auto id = static_cast<std::size_t>(original->id);
  if (id >= _byId.size() || _byId[id].original != original) return nullptr;
  return _byId[id].copy;
}

VakCopier::VakCopier(VakEnv target)
    : _target(VakCheckEnv(target)), _older(_newest), _tookLock(_target->lockCloning() != 0) {
  _newest = this;
}

// An expander that ended has forgotten all, and a substitution that is gone went with its objects.
VakCopier::~VakCopier() {
  VakExpanderI* expander = _target->_expander;
  for (; !_substitutes.empty(); _substitutes.pop_back()) {
    const Substitute& last = _substitutes.back();
    if (expander == nullptr || expander->substitute(last.original) == nullptr) continue;
    expander->setSubstitute(last.original, last.outer);
  }
  if (_tookLock) _target->unlockCloning();
  _newest = _older;
}

VakEnvI* VakCopier::getSource() const {
  for (const VakCopier* copier = _newest; copier != nullptr; copier = copier->_older) {
    if (copier->_target == _target && copier->_source != nullptr) return copier->_source;
  }
  return nullptr;
}

void VakCopier::checkOriginal(VakExtractableI* original) {
  if (original == nullptr) throw VakEmptyHandleException("VakExtractable: Using empty handle");
  VakEnvI* source = getSource();
  VakCheckUsable(original, source == nullptr ? original->_env : source, nullptr);
  _source = original->_env;
}

VakExtractable VakCopier::copyObject(VakExtractable original) {
  VakExtractableI* object = original.getImpl();
  checkOriginal(object);
  const VakInt level = _target->lockCloningLevel();
  VakCloneNotesI notes;
  try {
    return VakExtractable(_target->_expander == nullptr ? _target->getClone(object)
                                                        : _target->substitute(object));
  } catch (...) {
    _target->unlockCloningLevel(level);
    notes.deleteAll();
    throw;
  }
}

VakExtractableI* VakCopier::originalOf(VakInt id) const {
  const VakIdManager* ids = getSource()->_idManager;
  return ids->isInTable(id) && ids->isLive(id) ? static_cast<VakExtractableI*>(ids->_data[id])
                                               : nullptr;
}

VakExtractable VakCopier::findCopy(VakExtractable original) const {
  VakExtractableI* object = original.getImpl();
  if (object == nullptr || object->_env != getSource() || object->id == -1) return {};
  if (_target->hasClone(object) == 0) return {};
  return VakExtractable(_target->getClone(object));
}

void VakCopier::substitute(VakExtractable original, VakExtractable replacement) {
  VakExtractableI* from = original.getImpl();
  VakExtractableI* to = replacement.getImpl();
  checkOriginal(from);
  if (to == nullptr) throw VakEmptyHandleException("VakExtractable: Using empty handle");
  VakCheckUsable(to, _target, nullptr);
  if (to->getTypeInfo() != from->getTypeInfo()) {
    VakThrowModelError(to, "%s cannot take the place of %s. Use an object of the same class.",
                       VakObjectText(to).get(), VakObjectText(from).get());
  }
  if (_target->hasClone(from) != 0) {
    VakThrowModelError(from,
                       "%s was copied already. Substitute it before anything with it is copied.",
                       VakObjectText(from).get());
  }
  VakExpanderI* expander = _target->getExpander();
  _substitutes.push_back({from, expander->substitute(from)});
  try {
    expander->setSubstitute(from, to);
  } catch (...) {
    _substitutes.pop_back();
    throw;
  }
}

VakObjectMap VakCopier::getMap() const {
  VakObjectMap map;
  if (getSource() == nullptr) return map;
  const VakCloneManager* clones = _target->_cloneManager;
  for (VakInt i = 0; i < clones->ids.getSize(); ++i) {
    VakExtractableI* original = originalOf(clones->ids[i]);
    if (original == nullptr || _target->hasClone(original) == 0) continue;
    const auto id = static_cast<std::size_t>(original->id);
    if (id >= map._byId.size()) map._byId.resize(id + 1);
    map._byId[id] = {original, _target->getClone(original)};
    ++map._entries;
  }
  return map;
}

VakInt VakCopier::openLevel() const { return _target->lockCloningLevel(); }

void VakCopier::closeLevel(VakInt level) { _target->unlockCloningLevel(level); }
