#include "vakmodel/contract/extractable.h"

#include <mutex>

#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/id_manager.h"

// The usual part of init() is done here, for a model is made of as many calls as it has objects.
VakExtractableI::VakExtractableI(VakEnvI* env) : VakExtensibleRttiEnvObjectI(env), id(-1) {
  if (env->registersById()) [[likely]] {
    id = env->_idManager->newId(this);
  } else {
    env->init(this);
  }
}

VakExtractableI::~VakExtractableI() noexcept(false) {
  VakWatch<VakExtractableI>::Lose(_env->_registry.deletionWatches, this);
  unregister();
}

void VakExtractableI::notify(const VakChange& change) { _env->change(this, change); }

void VakExtractableI::removeHidden(VakInt /*mode*/) {}

bool VakExtractableI::IsHidden(const VakExtractableI* e) {
  if (e == nullptr) return false;
  const VakIdManager* ids = e->_env->_idManager;
  return ids->isInTable(e->id) && ids->isHidden(e->id);
}

void VakExtractableI::enterEmptySlot() {
  const std::scoped_lock lock(_env->_registry.slotsLock);
  const VakIdManager* ids = _env->_idManager;
  if (ids->isInTable(id) && ids->_data[id] == nullptr) ids->_data[id] = this;
}

void VakExtractableI::unregister() {
  if (id != -1) _env->finit(this);
}
