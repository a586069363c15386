#include "tests/fault/matrix/operation.h"
#include "tests/support/deep_check.h"
#include "vakenv/plugins/plugin_manager.h"
#include "vakenv/registry/clone_manager.h"

namespace {

std::string checkIdle(const VakEnvI* env) {
  const VakRegistryState& registry = env->_registry;
  if (env->isRemoving()) return "a removal is under way";
  if (registry.algorithmWalks != nullptr) return "a walk over the algorithms is under way";
  if (registry.plugIns.plugIns != nullptr || registry.plugIns.addons != nullptr ||
      registry.plugIns.notified != nullptr) {
    return "a walk of the plug-in manager is under way";
  }
  if (registry.watches != nullptr || registry.deletionWatches != nullptr) return "a watch is left";
  if (registry.callRolls != nullptr) return "a roll is left";
  if (registry.isDestroying) return "a destruction is under way";
  return "";
}

}  // namespace

VakStage::VakStage(VakStageKind kind)
    : _isLocked(kind == VakStageKind::Locked || kind == VakStageKind::ThreadSafe),
      env(static_cast<VakEnvI*>(nullptr)),
      other(static_cast<VakEnvI*>(nullptr)) {
  if (_isLocked) VakInitMT(&_mutex);
  env = VakEnv();
  other = VakEnv();
  if (kind == VakStageKind::ThreadSafe) env.useMTSafeAllocation(1);
}

VakStage::~VakStage() {
  if (env.getImpl() != nullptr) env.end();
  if (other.getImpl() != nullptr) other.end();
  if (_isLocked) VakEndMT();
}

std::vector<VakEnvI*> VakStage::environments() const {
  std::vector<VakEnvI*> list;
  for (const VakEnv e : {env, other}) {
    if (e.getImpl() != nullptr) list.push_back(e.getImpl());
  }
  return list;
}

VakInt VakStage::getUsage() const {
  VakInt bytes = 0;
  for (const VakEnvI* e : environments()) bytes += e->getMemoryUsage();
  return bytes;
}

std::string VakStage::check() const {
  if (_mutex.depth != 0) return "the mutex is held " + std::to_string(_mutex.depth) + " times";
  for (VakEnvI* e : environments()) {
    std::string defect = VakDeepCheck(e);
    if (defect.empty()) defect = checkIdle(e);
    if (!defect.empty()) return defect;
  }
  return "";
}
