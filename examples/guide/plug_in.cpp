// Writing a plug-in: one that counts changes, found by its name.

#include <iostream>

#include "vakenv/core/create.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/plugins.h"
#include "vakmodel/contract/change.h"
#include "vakmodel/modelling.h"

namespace {

/// Counts the changes of all models of its environment.
class ChangeCounter final : public VakNotifiedPlugIn {
  VAK_RTTI(ChangeCounter, VakNotifiedPlugIn);

  explicit ChangeCounter(VakEnvI* env) : VakNotifiedPlugIn(env) {}

  void notifyChange(const VakChange& change, const VakExtractableI* /*extractable*/) override {
    ++count;
    last = change.getRttiTypeName();
  }

  long count = 0;
  const char* last = "";
};

/// Files a counter under the name "changes" and lets it hear of changes.
ChangeCounter* install(VakEnv env) {
  auto* counter = VakCreate<ChangeCounter>(env);
  VakPlugInManager* manager = env.getImpl()->_plugInManager;
  manager->add(counter, "changes");
  manager->addNotified(counter);
  return counter;
}

/// Takes it out again and deletes it.
void uninstall(VakEnv env, ChangeCounter* counter) {
  VakPlugInManager* manager = env.getImpl()->_plugInManager;
  manager->removeNotified(counter);
  manager->remove(counter, "changes");
  delete counter;
}

/// The counter of an environment, or null.
ChangeCounter* find(VakEnv env) {
  const VakPlugInManager::VakCell* cell = env.getImpl()->_plugInManager->findCell("changes");
  return cell == nullptr ? nullptr : static_cast<ChangeCounter*>(cell->plugIns);
}

}  // namespace

int main() {
  VakEnvOwner env;
  install(env);
  VakModel model(env);
  VakNumVar x(env, 0, 9, "x");
  model.add(x >= 1);
  x.setUB(5);
  std::cout << find(env)->count << " changes, the last one a " << find(env)->last << '\n';
  uninstall(env, find(env));
  x.setUB(6);
  std::cout << (find(env) == nullptr ? "nobody counts\n" : "");
}
