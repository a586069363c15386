// Listeners that take objects away, or bring new ones, in the middle of the registry's work.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/environment_mode.h"
#include "tests/support/model_objects.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test_algorithm.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/plugins/plugin.h"
#include "vakenv/plugins/plugin_manager.h"
#include "vakenv/registry/clone_manager.h"
#include "vakenv/registry/extractable_roll.h"
#include "vakenv/registry/recycle_bin.h"
#include "vakmodel/contract/expander.h"

namespace {

class RemovingPlugIn : public VakPlugIn {
 public:
  RemovingPlugIn(VakEnvI* env, VakExtractableI* e) : VakPlugIn(env), _e(e) {}
  ~RemovingPlugIn() noexcept(false) override { _env->removeFromAll(_e); }
  VakExtractableI* _e;
};

}  // namespace

TEST(RemoveFromAll, IsHarmlessInAPlugInThatTheEndDeletes) {
  VakUsePooledMemory();
  VakTestScript script;
  VakScopedEnv env;
  VakTestNode* node = VakMakeNode(env.impl(), script, "A");
  env->_plugInManager->add(VakCreate<RemovingPlugIn>(env.impl(), node), "x");
  env.env.end();
}

TEST(Substitute, DoesNotPutBackAnOuterExpanderThatWasEndedMeanwhile) {
  VakTestScript script;
  VakScopedEnv env;
  VakTestNode* node = VakMakeNode(env.impl(), script, "A");
  env->_cloneManager->pushExpander();
  script.onClone = [](VakTestNode& n) { n._env->getExpander()->end(); };
  env->substitute(node);
  EXPECT_EQ(env->_expander, nullptr);
  EXPECT_EQ(env->_cloneManager->expander, nullptr);
  env->_cloneManager->expander = nullptr;
}

TEST(Destroy, DeletesAnUnregisteredObjectOnceThatItsListenerDestroys) {
  VakTestScript script;
  VakScopedEnv env;
  VakTestNode* node = VakMakeNode(env.impl(), script, "A");
  env->destroy(node, 1);
  script.takeLog();
  bool once = false;
  script.onNotify = [&](VakTestNode& n) {
    if (once) return;
    once = true;
    n._env->destroy(&n, 0);
  };
  env->destroy(node, 0);
  EXPECT_EQ(script.takeLog(), "notify A, notify A, ~A");
}

TEST(ExtractableRoll, KeepsAnEntryInAPlaceThatWasStruckAndTrimmed) {
  VakTestScript script;
  VakScopedEnv env;
  VakExtractableRoll roll;
  std::vector<VakTestNode*> n;
  for (int i = 0; i < 60; ++i) n.push_back(VakMakeNode(env.impl(), script, "N"));
  for (int i = 0; i < 18; ++i) roll.add(n[i]);
  for (int i : {17, 16, 15}) roll.strike(n[i]);
  roll.trim();
  ASSERT_EQ(roll.getSize(), 15);
  roll.strike(n[14]);
  roll.trim();
  ASSERT_EQ(roll.getSize(), 14);
  roll.add(n[20]);  // takes the place of 14
  roll.add(n[14]);
  for (int i = 30; i < 40; ++i) roll.add(n[i]);
  roll.strike(n[14]);
  EXPECT_EQ(roll[14], n[20]);
  EXPECT_EQ(roll[15], nullptr);
}

TEST(RemoveFromAll, LeavesNoDeadObjectDeferredAtTheEndOfTheEnvironment) {
  VakUseUnpooledMemory();
  VakTestScript script;
  VakScopedEnv env;
  VakEnvI* e = env.impl();
  std::vector<VakTestNode*> n;
  VakTestNode* root = VakMakeNode(e, script, "root");
  for (int i = 0; i < 40; ++i) n.push_back(VakMakeNode(e, script, "N"));
  script.onDestruct = [&](VakTestNode& node) {
    if (&node != root) return;
    for (int i = 0; i < 30; ++i) e->removeFromAllAndDestroy(n[i], 0);
    throw std::runtime_error("x");
  };
  EXPECT_THROW(e->removeFromAllAndDestroy(root, 0), std::runtime_error);
  EXPECT_TRUE(e->isRemoving());
  bool done = false;
  VakTestNode* last = n[39];
  VakTestNode* witness = n[25];
  script.takeLog();
  script.onDestruct = [&](VakTestNode& node) {
    if (&node == witness && !done) {
      done = true;
      delete last;
    }
  };
  env.env.end();
  EXPECT_EQ(script.log.size(), 40u);
}

TEST(CloneManager, KeepsAnOuterExpanderWhenCopyingThrowsWithoutALock) {
  VakTestScript script;
  VakScopedEnv env;
  VakTestNode* node = VakMakeNode(env.impl(), script, "A");
  env->_cloneManager->pushExpander();
  script.onClone = [](VakTestNode&) { throw std::runtime_error("x"); };
  EXPECT_THROW(env->getClone(node), std::runtime_error);
  EXPECT_EQ(env->_cloneManager->expander, env->_expander);
  EXPECT_EQ(env->isCloningLocked(), 0);
}

TEST(Algorithm, AttachedLateInTheEndIsEnded) {
  VakUseUnpooledMemory();
  VakTestScript script;
  VakScopedEnv env;
  VakMakeNode(env.impl(), script, "A");
  bool ended = false;
  script.onDestruct = [&](VakTestNode& n) {
    new VakTestAlgorithm(n._env, script, "alg");
    ended = true;
  };
  env.env.end();
  EXPECT_TRUE(ended);
  EXPECT_EQ(script.takeLog(), "~A, ~alg");
}

TEST(Destroy, DeletesAnObjectThatIsRegisteredAnewMeanwhile) {
  VakTestScript script;
  VakScopedEnv env;
  VakTestNode* node = VakMakeNode(env.impl(), script, "A");
  script.onNotify = [](VakTestNode& n) {
    n._env->finit(&n);
    n._env->init(&n);
  };
  env->destroy(node, 0);
  EXPECT_EQ(script.takeLog(), "notify A, ~A");
}

TEST(ReleaseLoop, SurvivesARemovalInANotification) {
  VakTestScript script;
  VakScopedEnv env;
  VakEnvI* e = env.impl();
  VakTestNode* a = VakMakeNode(e, script, "A");
  VakTestNode* b = VakMakeNode(e, script, "B", {a});
  VakTestNode* c = VakMakeNode(e, script, "C", {b});
  b->_goesWhenEmpty = true;
  c->_goesWhenEmpty = true;
  VakTestNode* d = VakMakeNode(e, script, "D");
  bool once = false;
  script.onNotify = [&](VakTestNode&) {
    if (once) return;
    once = true;
    e->removeFromAll(d);
    e->removeFromAllAndDestroy(d, 0);
    e->destroy(a, 0);
  };
  e->removeFromAllAndDestroy(a, 0);
  EXPECT_EQ(script.takeLog(), "notify C, notify A, ~A, ~C, notify B, ~B");
  EXPECT_FALSE(e->isRemoving());
  EXPECT_TRUE(e->_idManager->isHidden(d->id));
}

TEST(RemoveFromAllOfArray, SurvivesARemovalWithDestructionInItsSweep) {
  VakTestScript script;
  VakScopedEnv env;
  VakEnvI* e = env.impl();
  VakTestNode* a = VakMakeNode(e, script, "A");
  VakTestNode* b = VakMakeNode(e, script, "B", {a});
  b->_goesWhenEmpty = true;
  VakTestNode* keep = VakMakeNode(e, script, "K", {b, a});
  new VakTestAlgorithm(e, script, "alg");
  VakExtractableArray list(e->_allocator);
  list.add(a);
  e->removeFromAll(list);
  EXPECT_FALSE(keep->refersTo(b));
  EXPECT_FALSE(keep->refersTo(a));
  EXPECT_TRUE(e->_idManager->isLive(a->id));
  EXPECT_EQ(script.takeLog(),
            "alg: removed [B], notify B, alg: destroy B / B, ~B, alg: removed [A]");
  list.end();
}

TEST(Destroy, DeletesAnObjectThatAListenerUnregistersWithoutDeletingIt) {
  VakTestScript script;
  VakScopedEnv env;
  VakTestNode* node = VakMakeNode(env.impl(), script, "A");
  bool once = false;
  script.onNotify = [&](VakTestNode& n) {
    if (once) return;
    once = true;
    n._env->destroy(&n, 1);
  };
  env->destroy(node, 0);
  EXPECT_EQ(script.takeLog(), "notify A, notify A, ~A");
}
