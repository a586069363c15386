#include "vakmodel/contract/extractable.h"

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

void VakExtractableI::unregister() {
  if (id != -1) _env->finit(this);
}
