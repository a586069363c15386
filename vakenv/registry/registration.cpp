// Registration of extractables and of algorithms.

#include <cassert>

#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/registry/clone_manager.h"
#include "vakenv/registry/deleter.h"
#include "vakenv/registry/recycle_bin.h"
#include "vakmodel/contract/algorithm.h"
#include "vakmodel/contract/expander.h"
#include "vakmodel/contract/extractable.h"

void VakRegistryState::forget(const VakExtractableI* e, bool releasing) noexcept {
  VakWatch<VakExtractableI>::Lose(watches, e);
  for (CallRoll* call = callRolls; call != nullptr; call = call->outer) call->roll.strike(e);
  pending.strike(e);
  if (releasing) pending.trim();
  deferred.strike(e);
  nested.strike(e);
}

// An object that was destroyed while in use is known to the running removal by its address alone; a
// new object at that address is not the one.
void VakEnvI::init(VakExtractableI* e) {
  if (_recycleBin != nullptr) _recycleBin->destroyed.remove(e);
  if (_localEnv != nullptr) {
    e->id = _localEnv->init(e);
    return;
  }
  e->id = _idManager->newId(e);
  try {
    if (_typedLists.isOn()) _typedLists.add(e);
    if (_deleter != nullptr) _deleter->extractableAdded(e);
  } catch (...) {
    if (e->id == -1) throw;  // the deleter unregistered it
    if (_typedLists.isOn()) _typedLists.remove(e);
    forgetExtractable(e);
    _idManager->freeId(e->id);
    e->id = -1;
    throw;
  }
}

// The identifier is -1 afterwards also when the deleter throws.
void VakEnvI::finit(VakExtractableI* e) {
  forgetExtractable(e);
  if (_localEnv != nullptr) {
    leaveSlot(e);
    e->id = -1;
    return;
  }
  try {
    if (_typedLists.isOn()) _typedLists.remove(e);
    _idManager->freeId(e->id);
    if (_deleter != nullptr) _deleter->extractableRemoved(e);
  } catch (...) {
    e->id = -1;
    throw;
  }
  e->id = -1;
}

// Deliberate: thread-safe mode keeps the identifier booked. Its slot no longer leads to the object.
void VakEnvI::leaveSlot(const VakExtractableI* e) {
  if (e->id == -1) return;
  const std::scoped_lock lock(_registry.slotsLock);
  ++_registry.unreleasedIds;
  if (!_idManager->isInTable(e->id)) return;
  void*& slot = _idManager->_data[e->id];
  if (slot == e || slot == VakIdManager::HiddenMark()) slot = nullptr;
}

void VakEnvI::forgetExtractable(const VakExtractableI* e) {
  if (e->id == -1) return;
  _registry.references.drop(e->id);
  if (!_registry.isQuiet())
    _registry.forget(e, _recycleBin != nullptr && _recycleBin->releaseMode != 0);
  if (_localEnv == nullptr) _cloneManager->forget(e->id);
}

VakInt VakEnvI::getUnreleasedIds() const { return _registry.unreleasedIds; }

void VakEnvI::addAlgorithm(VakAlgorithmI* a) {
  assert(!a->_isAttached);
  a->next = _algorithms;
  a->_isAttached = true;
  _algorithms = a;
}

void VakEnvI::removeAlgorithm(VakAlgorithmI* a) {
  VakWalk<VakAlgorithmI>::Skip(_registry.algorithmWalks, a);
  VakAlgorithmI** link = &_algorithms;
  while (*link != a) link = &(*link)->next;
  *link = a->next;
  a->next = nullptr;
  a->_isAttached = false;
  if (a != _expander) return;
  if (_cloneManager->expander == _expander) _cloneManager->expander = nullptr;
  _expander = nullptr;
}
