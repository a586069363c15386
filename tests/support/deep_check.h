// Everything that an environment can prove about itself, as one text.
#pragma once

#include <string>

#include "vakenv/core/environment_impl.h"
#include "vakenv/domains/shared_domain_hash.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/registry/destroyable.h"
#include "vakmodel/contract/extractable.h"
#include "vakmodel/model_impl.h"
#include "vaksupport/symbol_table.h"

/// An empty text if every structure of `env` is sound, else the first thing that is broken. Costs
/// time in the size of everything in the environment, and no memory of the environment.
[[nodiscard]] inline std::string VakDeepCheck(const VakEnvI* env) {
  const auto named = [](const char* structure, const std::string& defect) {
    return defect.empty() ? "" : std::string(structure) + ": " + defect;
  };
  std::string defect = named("pool", env->_memory.check({env->_termAllocator}));
  if (defect.empty()) defect = named("identifiers", env->_idManager->check());
  if (defect.empty()) defect = named("destroyables", env->_destroyables->check());
  if (defect.empty()) defect = named("typed lists", env->_typedLists.check());
  if (defect.empty()) defect = named("symbols", env->_symbolTable->_table.check());
  if (defect.empty()) defect = named("integer domains", env->_intDomains->check());
  if (defect.empty()) defect = named("numeric domains", env->_numDomains->check());
  const VakIdManager& ids = *env->_idManager;
  for (VakInt id = 0; defect.empty() && id < ids._size; ++id) {
    if (!ids.isLive(id)) continue;
    const auto* e = static_cast<const VakExtractableI*>(ids._data[id]);
    if (e->id != id) {
      defect = "identifiers: slot " + std::to_string(id) + " holds an object with the identifier " +
               std::to_string(e->id);
    } else if (e->isType(VakModelI::GetTypeInfo()) != 0) {
      defect = named("model", static_cast<const VakModelI*>(e)->check());
    }
  }
  return defect;
}
