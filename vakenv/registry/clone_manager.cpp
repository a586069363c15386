#include "vakenv/registry/clone_manager.h"

#include <vector>

#include "vakbase/fault_text.h"
#include "vakbase/memory_inspection.h"
#include "vakenv/arrays/array_impl.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/create.h"
#include "vakenv/memory/tarn_alloc.h"
#include "vakmodel/contract/expander.h"
#include "vakmodel/contract/extractable.h"

namespace {

constexpr VakInt ElementSize = sizeof(VakExtractableI*);

// Puts a value in the place of another for the life of a scope, and then `after` in the place of
// whatever is there.
template <class T>
class Exchanged {
 public:
  Exchanged(T& place, T during, T after) : _place(place), _after(after) { _place = during; }
  ~Exchanged() { _place = _after; }
  Exchanged(const Exchanged&) = delete;
  Exchanged& operator=(const Exchanged&) = delete;

 private:
  T& _place;
  T _after;
};

// Holds the lock of a clone manager for the life of a scope, unless it was held already.
class Locked {
 public:
  explicit Locked(VakCloneManager& manager) : _manager(manager), _took(manager.lock() != 0) {}
  ~Locked() {
    if (_took) _manager.unlock();
  }
  Locked(const Locked&) = delete;
  Locked& operator=(const Locked&) = delete;

 private:
  VakCloneManager& _manager;
  bool _took;
};

}  // namespace

VakCloneManager::VakCloneManager(VakEnvI* environment)
    : env(environment),
      locked(0),
      clones(VakCreate<VakArrayI>(VakMemoryManager(environment->_allocator), 0L, ElementSize)),
      expander(nullptr) {
  try {
    ids = VakArray<VakInt>(VakMemoryManager(environment->_allocator), 0);
  } catch (...) {
    delete clones;
    throw;
  }
}

VakCloneManager::~VakCloneManager() {
  delete clones;
  ids.end();
}

VakInt VakCloneManager::lock() {
  if (locked != 0) return 0;
  locked = 1;
  return 1;
}

void VakCloneManager::unlock() {
  locked = 0;
  clear();
}

VakInt VakCloneManager::lockLevel() const { return ids.getSize(); }

void VakCloneManager::unlockLevel(VakInt level) { clearLevel(level); }

VakInt VakCloneManager::pushExpander() {
  if (expander != nullptr) return 0;
  expander = env->getExpander();
  return 1;
}

void VakCloneManager::clear() {
  clearLevel(0);
  expander = nullptr;
}

void VakCloneManager::clearLevel(VakInt level) {
  const VakInt size = ids.getSize();
  if (level >= size) return;
  // The table is shorter than the log when it lost its storage for want of memory.
  for (VakInt i = level; i < size; ++i) forget(ids[i]);
  ids.remove(level, size - level);
}

void VakCloneManager::setMaxId(VakInt maxId) {
  if (maxId < clones->_size) return;
  const Exchanged<VakLocalEnvI*> ordinary(env->_localEnv, nullptr, env->_localEnv);
  const VakInt size = clones->_size;
  clones->grow(maxId + 1);
  clones->_size = maxId + 1;
  for (VakInt id = size; id <= maxId; ++id) entry(id) = nullptr;
}

VakInt VakCloneManager::hasClone(VakExtractableI* e) const {
  return e->id >= 0 && e->id < clones->_size && entry(e->id) != nullptr ? 1 : 0;
}

// The result is held here while the lock, and with it the table, goes. When copying throws, an
// expander that was pushed before is pushed again, unless it has ended. Copying makes other copies,
// so the entry is looked up again; an object that went meanwhile has none.
VakExtractableI* VakCloneManager::getClone(VakExtractableI* e) {
  VakExpanderI* const pushed = expander;
  try {
    const Locked lock(*this);
    return findOrCopy(e);
  } catch (...) {
    if (pushed == env->_expander) expander = pushed;
    throw;
  }
}

VakExtractableI* VakCloneManager::findOrCopy(VakExtractableI* e) {
  const VakInt id = e->id;
  if (id < 0) return makeCopy(e);
  setMaxId(id);
  if (entry(id) != nullptr) return entry(id);
  const VakWatch<VakExtractableI> watch(env->_registry.watches, e);
  VakExtractableI* copy = makeCopy(e);
  if (!watch.isGone()) record(id, copy);
  return copy;
}

void VakCloneManager::setClone(VakExtractableI* e, VakExtractableI* c) {
  if (e->id < 0) return;
  setMaxId(e->id);
  record(e->id, c);
}

void VakCloneManager::forget(VakInt id) noexcept {
  if (id >= 0 && id < clones->_size) entry(id) = nullptr;
}

std::string VakCloneManager::check(const VakMemoryInspection* pool) const {
  if (VakIsGone(pool, clones)) return "the table is free memory";
  if (VakIsGone(pool, ids.getImpl())) return "the log is free memory";
  std::string broken = VakNameFault("table", clones->check(pool));
  if (broken.empty()) broken = VakNameFault("log", ids.getImpl()->check(pool));
  if (!broken.empty()) return broken;
  std::vector<bool> isLogged(static_cast<std::size_t>(clones->_size));
  for (VakInt i = 0; i < ids.getSize(); ++i) {
    const VakInt id = ids[i];
    if (id < 0) return VakFaultText("the log has identifier ", id);
    if (id < clones->_size) isLogged[static_cast<std::size_t>(id)] = true;
  }
  for (VakInt id = 0; id < clones->_size; ++id) {
    if (entry(id) != nullptr && !isLogged[static_cast<std::size_t>(id)]) {
      return VakFaultText("the copy of identifier ", id, " is not in the log");
    }
  }
  return "";
}

VakExtractableI*& VakCloneManager::entry(VakInt id) const {
  return *reinterpret_cast<VakExtractableI**>(clones->element(id));
}

VakExtractableI* VakCloneManager::makeCopy(VakExtractableI* e) {
  VakExtractableI* substitute = expander == nullptr ? nullptr : expander->substitute(e);
  return substitute != nullptr ? substitute : e->makeClone(env);
}

// The identifier is logged first, so that no entry is without it when memory runs out. The log may
// lose its storage then; no copy is known any more in that case.
void VakCloneManager::record(VakInt id, VakExtractableI* copy) {
  const VakInt size = ids.getSize();
  try {
    ids.add(id);
  } catch (...) {
    if (ids.getSize() != size) {
      for (VakInt i = 0; i < clones->_size; ++i) entry(i) = nullptr;
    }
    throw;
  }
  entry(id) = copy;
}

VakInt VakEnvI::isCloningLocked() const { return _cloneManager->locked; }

VakInt VakEnvI::lockCloning() { return _cloneManager->lock(); }

void VakEnvI::unlockCloning() { _cloneManager->unlock(); }

VakInt VakEnvI::lockCloningLevel() { return _cloneManager->lockLevel(); }

void VakEnvI::unlockCloningLevel(VakInt level) { _cloneManager->unlockLevel(level); }

VakInt VakEnvI::hasClone(VakExtractableI* e) const { return _cloneManager->hasClone(e); }

VakExtractableI* VakEnvI::getClone(VakExtractableI* e) { return _cloneManager->getClone(e); }

void VakEnvI::setClone(VakExtractableI* e, VakExtractableI* c) { _cloneManager->setClone(e, c); }

// An expander that was pushed outside stays pushed, although getClone() clears it with the table,
// unless it has ended meanwhile.
VakExtractableI* VakEnvI::substitute(VakExtractableI* e) {
  if (e == nullptr) return nullptr;
  const bool isPushedHere = _cloneManager->pushExpander() != 0;
  VakExpanderI* expander = _cloneManager->expander;
  const auto putBack = [&] {
    const bool isStillThere = !isPushedHere && _expander == expander;
    _cloneManager->expander = isStillThere ? expander : nullptr;
  };
  try {
    VakExtractableI* result = _cloneManager->getClone(e);
    putBack();
    return result;
  } catch (...) {
    putBack();
    throw;
  }
}
