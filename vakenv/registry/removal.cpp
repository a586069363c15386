// Destruction of extractables, and their removal from all others.

#include <new>
#include <vector>

#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/env.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/memory/tarn_alloc.h"
#include "vakenv/registry/deleter.h"
#include "vakenv/registry/recycle_bin.h"
#include "vakmodel/contract/change.h"
#include "vakmodel/contract/expression.h"

namespace {

// True for an expression that others still use.
bool isUsedExpression(const VakExtractableI* e) {
  if (e->isType(VakNumExprI::GetTypeInfo()) == 0 && e->isType(VakAnyExprI::GetTypeInfo()) == 0) {
    return false;
  }
  return static_cast<const VakExprI*>(e)->getUseCount() > 0;
}

// The extractables of one removal without a bin: which of them it hid, and which are gone.
class ArrayRemoval {
 public:
  // Hides the registered elements of `array` that are visible.
  ArrayRemoval(VakEnvI* env, VakExtractableArray array)
      : _env(env), _array(array), _call(env->_registry) {
    const VakIdManager* ids = env->_idManager;
    for (VakExtractableI* e : array) {
      const bool isRegistered = e != nullptr && ids->isInTable(e->id);
      _call.roll.add(isRegistered ? e : nullptr);
      _states.push_back(isRegistered ? Listed : Unknown);
    }
    for (VakInt i = 0; i < _call.roll.getSize(); ++i) {
      const VakExtractableI* e = _call.roll[i];
      if (e == nullptr || ids->isHidden(e->id)) continue;
      stateOf(i) = Hidden;
      ids->_data[e->id] = VakIdManager::HiddenMark();
    }
  }

  // Shows again what it hid, lives and is still hidden.
  ~ArrayRemoval() { restore(); }
  ArrayRemoval(const ArrayRemoval&) = delete;
  ArrayRemoval& operator=(const ArrayRemoval&) = delete;

  void restore() {
    const VakIdManager* ids = _env->_idManager;
    for (VakInt i = 0; i < _call.roll.getSize(); ++i) {
      VakExtractableI* e = _call.roll[i];
      if (e == nullptr || stateOf(i) != Hidden) continue;
      stateOf(i) = Listed;
      if (ids->isHidden(e->id)) ids->_data[e->id] = e;
    }
  }

  // Reports the array; when elements are gone, an array of the others.
  void report() {
    if (!_call.roll.hasStruck()) {
      _env->change(VakRemoveFromAllChange(_array));
      return;
    }
    VakExtractableArray living(_env->_allocator);
    try {
      for (VakInt i = 0; i < _array.getSize(); ++i) {
        if (!isGone(i)) living.add(_array[i]);
      }
      _env->change(VakRemoveFromAllChange(living));
    } catch (...) {
      living.end();
      throw;
    }
    living.end();
  }

 private:
  enum State : char { Unknown, Listed, Hidden };

  State& stateOf(VakInt i) { return _states[static_cast<std::size_t>(i)]; }
  bool isGone(VakInt i) {
    return i < _call.roll.getSize() && stateOf(i) != Unknown && _call.roll[i] == nullptr;
  }

  VakEnvI* _env;
  VakExtractableArray _array;
  VakRegistryState::CallRoll _call;
  std::vector<State> _states;  // by position in the roll
};

}  // namespace

// 1. The object tells whom it concerns; when one of them throws, it stays registered.
// 2. It is unregistered.
// 3. A running removal remembers an expression that others still use, so that they can release it.
// 4. It is deleted.
// Whoever is told may unregister it, or delete it; in the second case there is nothing left to do.
void VakEnvI::destroy(VakExtractableI* e, VakInt keep) {
  {
    const VakWatch<VakExtractableI> watch(_registry.deletionWatches, e);
    e->notify(VakDestroyExtractable(e));
    if (watch.isGone()) return;
  }
  finit(e);
  if (_recycleBin != nullptr && isUsedExpression(e)) _recycleBin->destroyed.add(e, e);
  if (keep == 0) delete e;
}

void VakEnvI::removeFromAll(VakExtractableArray a) {
  ArrayRemoval removal(this, a);
  VakRecycleBinI::Sweep(this, a);
  removal.restore();
  removal.report();
}

// Deliberate: within another removal the object is hidden before the bin sees it, so that the bin
// does not list it, and it stays hidden. On its own, only `e` is shown again: what asked for its
// removal during the sweep stays hidden.
void VakEnvI::removeFromAll(VakExtractableI* e) {
  if (_recycleBin != nullptr) {
    if (_idManager->isInTable(e->id)) {
      _registry.nested.add(e);
      _idManager->_data[e->id] = VakIdManager::HiddenMark();
    }
    _recycleBin->add(e);
    _recycleBin->removeFromAll();
    return;
  }
  openRecycleBin();
  {
    const VakWatch<VakExtractableI> watch(_registry.watches, e);
    _recycleBin->add(e);
    _recycleBin->removeFromAll();
    if (!watch.isGone() && _idManager->isInTable(e->id)) _idManager->_data[e->id] = e;
  }
  closeRecycleBin();
}

void VakEnvI::removeFromAllAndDestroy(VakExtractableI* e, VakInt flag) {
  if (_deleter != nullptr) {
    removeAndDelete(e, flag);
    return;
  }
  if (_recycleBin != nullptr) {
    _recycleBin->add(e);
    return;
  }
  openRecycleBin();
  _recycleBin->add(e);
  finishRemoval();
}

void VakEnvI::removeFromAllAndDestroy(VakExtractableArray a, VakInt flag) {
  if (_deleter != nullptr) {
    removeAndDelete(a, flag);
    return;
  }
  const bool isNested = _recycleBin != nullptr;
  if (!isNested) openRecycleBin();
  const VakInt size = a.getSize();
  for (VakInt i = 0; i < size; ++i) _recycleBin->add(a[i]);
  if (!isNested) finishRemoval();
}

// The sweep, then the release loop: the pending extractables are destroyed from the last to the
// first, then those that were asked for meanwhile, until nobody asks. `pending` shrinks with each.
void VakEnvI::finishRemoval() {
  VakRecycleBinI* bin = _recycleBin;
  _registry.isDestroying = true;
  bin->removeFromAll();
  bin->startReleaseMode();
  while (!bin->pending.isEmpty()) {
    while (!bin->pending.isEmpty()) {
      const VakInt size = bin->pending.getSize();
      VakExtractableI* last = bin->pending[size - 1];
      if (last != nullptr) destroy(last, 0);
      if (bin->pending.getSize() == size) _registry.pending.dropLast();
    }
    bin->endReleaseMode();
    bin->startReleaseMode();
  }
  closeRecycleBin();
}

void VakEnvI::abandonRemoval() {
  if (_recycleBin == nullptr) return;
  for (const VakExtractableRoll* roll : {&_registry.pending, &_registry.nested}) {
    for (VakInt i = 0; i < roll->getSize(); ++i) {
      VakExtractableI* e = (*roll)[i];
      if (e == nullptr || !_idManager->isInTable(e->id)) continue;
      if (_idManager->isHidden(e->id)) _idManager->_data[e->id] = e;
    }
  }
  closeRecycleBin();
}

void VakEnvI::openRecycleBin() {
  void* place = allocate(sizeof(VakRecycleBinI));
  try {
    _recycleBin = ::new (place) VakRecycleBinI(this);
    _registry.pending.claimDistinct(true);  // what is hidden is not listed again
  } catch (...) {
    giveBack(place, sizeof(VakRecycleBinI));
    throw;
  }
}

void VakEnvI::closeRecycleBin() {
  VakRecycleBinI* bin = _recycleBin;
  if (bin == nullptr) return;
  _recycleBin = nullptr;
  _registry.isDestroying = false;
  _registry.pending.clear();
  _registry.deferred.clear();
  _registry.nested.clear();
  bin->end();
  bin->~VakRecycleBinI();
  giveBack(bin, sizeof(VakRecycleBinI));
}
