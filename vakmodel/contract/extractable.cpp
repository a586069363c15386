#include "vakmodel/contract/extractable.h"

#include <mutex>

#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/id_manager.h"

VakExtractableI::VakExtractableI(VakEnvI* env) : VakExtensibleRttiEnvObjectI(env), id(-1) {
  env->init(this);
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

void VakExtractableI::enterSlot() {
  if (_env->_localEnv == nullptr) return;
  const std::scoped_lock lock(_env->_registry.slotsLock);
  const VakIdManager* ids = _env->_idManager;
  if (ids->isInTable(id) && ids->_data[id] == nullptr) ids->_data[id] = this;
}

void VakExtractableI::unregister() {
  if (id != -1) _env->finit(this);
}
