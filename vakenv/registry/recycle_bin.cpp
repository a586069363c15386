#include "vakenv/registry/recycle_bin.h"

#include "vakbase/fault_text.h"
#include "vakbase/memory_inspection.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/env.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/memory/tarn_alloc.h"
#include "vakmodel/contract/change.h"
#include "vakmodel/contract/extractable.h"

VakRecycleBinI::VakRecycleBinI(VakEnvI* env)
    : releaseMode(0), destroyed(&HashExtractable, &CompareExtractables, 1) {
  try {
    pending = VakExtractableArray(env->_allocator);
    deferred = VakExtractableArray(env->_allocator);
  } catch (...) {
    end();
    throw;
  }
}

VakRecycleBinI::~VakRecycleBinI() { destroyed.end(); }

void VakRecycleBinI::end() {
  pending.end();
  deferred.end();
  destroyed.end();
}

VakEnvI* VakRecycleBinI::getEnvImpl() const { return pending.getEnv().getImpl(); }

void VakRecycleBinI::add(VakExtractableI* e) {
  if (e == nullptr) return;
  VakEnvI* env = getEnvImpl();
  const VakIdManager* ids = env->_idManager;
  if (!ids->isInTable(e->id) || ids->isHidden(e->id)) return;
  if (releaseMode != 0) {
    list(e, deferred, env->_registry.deferred);
    return;
  }
  list(e, pending, env->_registry.pending);
  hide(e);
}

void VakRecycleBinI::startReleaseMode() { releaseMode = 1; }

// What was deferred and has gone meanwhile is null here. Deliberate: an extractable that was
// deferred twice is pending twice; destroying it strikes both.
void VakRecycleBinI::endReleaseMode() {
  VakRegistryState& registry = getEnvImpl()->_registry;
  releaseMode = 0;
  pending.removeAll();
  registry.pending.clear();
  registry.pending.claimDistinct(true);
  for (VakExtractableI* e : deferred) {
    if (e == nullptr) continue;
    if (VakExtractableI::IsHidden(e)) registry.pending.claimDistinct(false);
    list(e, pending, registry.pending);
    hide(e);
  }
  deferred.removeAll();
  registry.deferred.clear();
}

void VakRecycleBinI::removeFromAll() {
  VakEnvI* env = getEnvImpl();
  Sweep(env, pending);
  if (env->_recycleBin == this) env->_registry.pending.compact();
  env->change(VakRemoveFromAllChange(pending));
}

std::string VakRecycleBinI::check(const VakMemoryInspection* pool) const {
  if (releaseMode != 0 && releaseMode != 1) return VakFaultText("release mode ", releaseMode);
  if (VakIsGone(pool, pending.getImpl())) return "pending: the array is free memory";
  if (VakIsGone(pool, deferred.getImpl())) return "deferred: the array is free memory";
  std::string broken = VakNameFault("destroyed", destroyed.check());
  if (!broken.empty()) return broken;
  const VakRegistryState& registry = getEnvImpl()->_registry;
  std::string fault = checkList("pending", pending, registry.pending, pool);
  if (fault.empty()) fault = checkList("deferred", deferred, registry.deferred, pool);
  return fault;
}

// A list whose array lost its storage for want of memory is shorter than its roll.
std::string VakRecycleBinI::checkList(const char* name, VakExtractableArray array,
                                      const VakExtractableRoll& roll,
                                      const VakMemoryInspection* pool) const {
  std::string broken = VakNameFault(name, array.getImpl()->check(pool));
  if (!broken.empty() || getEnvImpl()->_recycleBin != this) return broken;
  if (array.getSize() > roll.getSize()) {
    return VakFaultText(name, ": the array has ", array.getSize(), " elements, the roll ",
                        roll.getSize());
  }
  const VakIdManager* ids = getEnvImpl()->_idManager;
  for (VakInt i = 0; i < roll.getSize(); ++i) {
    const void* address = roll[i];
    if (array.getSize() == roll.getSize() && array[i] != address) {
      return VakFaultText(name, ": element ", i, " is ", static_cast<const void*>(array[i]),
                          ", in the roll ", address);
    }
    if (address == nullptr) continue;
    if (VakIsGone(pool, address)) {
      return VakFaultText(name, ": element ", i, ", ", address, ", is free memory");
    }
    if (!ids->isInTable(roll[i]->id)) {
      return VakFaultText(name, ": element ", i, ", ", address, ", is not registered");
    }
  }
  return "";
}

VakInt VakRecycleBinI::HashExtractable(VakExtractableI* p, VakInt size) {
  return VakHashAddress(p, size);
}

VakInt VakRecycleBinI::CompareExtractables(VakExtractableI* a, VakExtractableI* b) {
  return VakCompareAddresses(a, b);
}

// Table and size are read afresh for every identifier, because a removal operation may make the
// table grow. The installed bin's list can also lose elements meanwhile, so what counts is how many
// were ever added.
void VakRecycleBinI::Sweep(VakEnvI* env, VakExtractableArray listed) {
  const VakRecycleBinI* bin = env->_recycleBin;
  const bool isBins = bin != nullptr && listed == bin->pending;
  const auto added = [&] { return isBins ? env->_registry.pending.getAdded() : listed.getSize(); };
  const VakIdManager* ids = env->_idManager;
  VakInt before = 0;
  do {
    before = added();
    for (VakInt id = 0; id < ids->_size && ids->isInTable(id); ++id) {
      if (ids->isLive(id)) static_cast<VakExtractableI*>(ids->_data[id])->removeHidden(0);
    }
  } while (added() > before);
}

void VakRecycleBinI::list(VakExtractableI* e, VakExtractableArray array, VakExtractableRoll& roll) {
  if (getEnvImpl()->_recycleBin == this) {
    roll.add(e, array);
  } else {
    array.add(e);
  }
}

void VakRecycleBinI::hide(VakExtractableI* e) {
  getEnvImpl()->_idManager->_data[e->id] = VakIdManager::HiddenMark();
}
