// What is left when the k-th allocation fails, for every k.

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "tests/support/environment_mode.h"
#include "tests/support/failing_new.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test_algorithm.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/plugins/plugin_manager.h"
#include "vakenv/registry/clone_manager.h"
#include "vakenv/registry/destroyable.h"
#include "vakenv/types/exceptions.h"
#include "vakmodel/contract/expander.h"

namespace {

class Plain : public VakDestroyableI {
 public:
  explicit Plain(VakEnvI* env) : VakDestroyableI(env) {}
};

bool isOutOfMemory(const std::exception_ptr& thrown) {
  return VakIsException<std::bad_alloc>(thrown) || VakIsException<VakMemoryException>(thrown);
}

// Lets each allocation of `operation` fail in turn. Without pooled memory each is one of the heap.
long failEach(const std::function<void()>& operation, const std::function<void()>& check) {
  return VakFailEachNew(operation, [&](const std::exception_ptr& thrown) {
    EXPECT_TRUE(thrown == nullptr || isOutOfMemory(thrown));
    check();
  });
}

TEST(RegistryFault, LeavesNoTraceOfADestroyableAtAnyRehash) {
  VakUseUnpooledMemory();
  for (const int listed : {0, 2, 4, 8}) {
    VakScopedEnv env;
    for (int i = 0; i < listed; ++i) static_cast<void>(VakCreate<Plain>(env.impl()));
    const VakInt before = env->getMemoryUsage();
    const long failures = failEach([&] { static_cast<void>(VakCreate<Plain>(env.impl())); },
                                   [&] {
                                     EXPECT_EQ(env->_destroyables->getSize(), listed);
                                     EXPECT_EQ(env->_destroyables->check(), "");
                                     EXPECT_EQ(env->getUnlistedDestroyables(), 0);
                                     EXPECT_EQ(env->getMemoryUsage(), before);
                                   });
    EXPECT_EQ(failures, listed == 0 ? 3 : 4);  // object, element, item and, at a rehash, buckets
    EXPECT_EQ(env->_destroyables->getSize(), listed + 1);
  }
}

TEST(RegistryFault, LeavesNoTraceOfAnExtractableWhenTheIdentifierTableGrows) {
  VakUseUnpooledMemory();
  VakTestScript script;
  VakScopedEnv env;
  for (int i = 0; i < 255; ++i) VakMakeNode(env.impl(), script, "n");
  const VakInt before = env->getMemoryUsage();
  failEach([&] { static_cast<void>(VakCreate<VakTestVar>(env.impl())); },
           [&] {
             EXPECT_EQ(env->_idManager->check(), "");
             EXPECT_EQ(env->_idManager->_capacity, 256);
             EXPECT_EQ(env->_idManager->_size, 255);
             EXPECT_EQ(env->getMemoryUsage(), before);
           });
  EXPECT_EQ(env->_idManager->_capacity, 512);
}

TEST(RegistryFault, UndoesARegistrationThatTheTypedListsCannotTake) {
  VakUseUnpooledMemory();
  VakTestScript script;
  VakScopedEnv env;
  env->_typedLists.switchOn(env.impl());
  VakTestNode* node = nullptr;
  failEach([&] { node = VakMakeNode(env.impl(), script, "n"); },
           [&] {
             EXPECT_EQ(env->_typedLists.count(VakExtractableI::GetTypeInfo()), 0);
             EXPECT_FALSE(env->_idManager->isLive(0));
           });
  EXPECT_EQ(node->id, 0);
}

// A removal of many: the arrays, the roll, the table of destroyed expressions, all fail somewhere.
struct Removal {
  Removal() {
    x = VakMakeNode(env.impl(), script, "X");
    for (int i = 0; i < 20; ++i) {
      auto* c = VakMakeNode(env.impl(), script, "C", {x});
      c->_goesWhenEmpty = true;
    }
    other = VakMakeNode(env.impl(), script, "other", {x});
    used = VakCreate<VakTestNumExpr>(env.impl(), script, "used");
    used->use();
  }

  // A removal that came to its end may have left objects hidden that asked for their own removal;
  // one that was abandoned shows everything.
  void expectUsable(bool wasBrokenOff) {
    script.log.clear();
    script.onSweep = {};
    script.onNotify = {};
    env->abandonRemoval();
    for (VakInt id = 0; wasBrokenOff && id < env->_idManager->_size; ++id) {
      EXPECT_FALSE(env->_idManager->isHidden(id));
    }
    EXPECT_EQ(env->_registry.watches, nullptr);
    EXPECT_EQ(env->_registry.callRolls, nullptr);
    auto* fresh = VakMakeNode(env.impl(), script, "fresh");
    env->removeFromAllAndDestroy(fresh, 0);
    EXPECT_FALSE(env->isRemoving());
    script.log.clear();
  }

  VakTestScript script;
  VakScopedEnv env;
  VakTestNode* x;
  VakTestNode* other;
  VakTestNumExpr* used;
};

// Repeats the operation on a new model with the k-th allocation failing, until it succeeds.
void failEachRemoval(const std::function<void(Removal&)>& operation) {
  VakUseUnpooledMemory();
  for (long failAt = 1;; ++failAt) {
    Removal removal;
    removal.script.log.reserve(1000);
    bool hasFailed = false;
    {
      VakFailingNew failing(failAt);
      try {
        operation(removal);
      } catch (const std::bad_alloc&) {
      } catch (const VakMemoryException&) {
      }
      hasFailed = failing.hasFailed();
    }
    removal.expectUsable(hasFailed);
    if (!hasFailed) {
      EXPECT_GT(failAt, 5);
      return;
    }
  }
}

TEST(RegistryFault, LeavesARemovalThatCanBeAbandoned) {
  failEachRemoval([](Removal& r) { r.env->removeFromAll(r.x); });
}

TEST(RegistryFault, LeavesARemovalWithDestructionThatCanBeAbandoned) {
  failEachRemoval([](Removal& r) { r.env->removeFromAllAndDestroy(r.x, 0); });
}

TEST(RegistryFault, LeavesARemovalWithDeferredRequestsThatCanBeAbandoned) {
  failEachRemoval([](Removal& r) {
    r.script.onNotify = [&](VakTestNode& self) {
      if (&self != r.x) return;
      r.script.onNotify = {};
      r.env->removeFromAllAndDestroy(r.other, 0);
      r.env->removeFromAllAndDestroy(r.used, 0);
      r.env->destroy(r.used, 0);
    };
    r.env->removeFromAllAndDestroy(r.x, 0);
  });
}

TEST(RegistryFault, LeavesTheElementsOfAnArrayRemovalVisible) {
  failEachRemoval([](Removal& r) {
    VakExtractableArray array(r.env->_allocator);
    for (VakExtractableI* e : {r.x, r.other, r.x}) array.add(e);
    r.script.onSweep = [&](VakTestNode&) {
      r.script.onSweep = {};
      VakExtractableI* gone = r.other;
      delete gone;
    };
    for (VakInt id = 1; id <= 20; ++id) {
      static_cast<VakTestNode*>(r.env->_idManager->_data[id])->_goesWhenEmpty = false;
    }
    r.env->removeFromAll(array);
  });
}

TEST(RegistryFault, LeavesCopiesUsable) {
  VakUseUnpooledMemory();
  VakTestScript script;
  VakScopedEnv env;
  auto* a = VakMakeNode(env.impl(), script, "A");
  auto* top = VakMakeNode(env.impl(), script, "T", {a, a});
  VakExtractableI* copy = nullptr;
  env->getExpander();
  const auto copyAll = [&] {
    env->setClone(a, a);
    copy = env->substitute(top);
  };
  failEach(copyAll, [&] {
    const VakCloneManager& clones = *env->_cloneManager;
    EXPECT_EQ(clones.locked, 0);
    EXPECT_EQ(clones.expander, nullptr);
    EXPECT_EQ(env->_localEnv, nullptr);
    env->unlockCloning();
    EXPECT_EQ(env->hasClone(a), 0);
    script.log.clear();
  });
  EXPECT_NE(copy, nullptr);
}

TEST(RegistryFault, LinksNoHalfCellAndNoHalfNode) {
  VakUseUnpooledMemory();
  VakTestScript script;
  VakScopedEnv env;
  VakPlugInManager& manager = *env->_plugInManager;
  auto* p = VakCreate<VakPlugIn>(env.impl());
  auto* n = VakCreate<VakTestNotified>(env.impl(), script, "n");
  const VakInt before = env->getMemoryUsage();
  EXPECT_GE(failEach([&] { manager.add(p, "a name"); },
                     [&] {
                       EXPECT_EQ(manager.first, nullptr);
                       EXPECT_EQ(p->next, nullptr);
                       EXPECT_EQ(env->getMemoryUsage(), before);
                     }),
            2);
  EXPECT_GE(
      failEach([&] { manager.addNotified(n); }, [&] { EXPECT_EQ(manager.notified, nullptr); }), 1);
  manager.removeNotified(n);
  delete n;
}

TEST(RegistryFault, TurnsAMissingExpanderAndEvaluatorIntoMemoryExceptions) {
  VakScopedEnv env;
  const long failures = VakFailEachNew([&] { static_cast<void>(env->getModelEvaluator()); },
                                       [&](const std::exception_ptr& thrown) {
                                         EXPECT_TRUE(VakIsException<VakMemoryException>(thrown));
                                       });
  EXPECT_EQ(failures, 2);
  EXPECT_EQ(env->_algorithms, env->_expander);
}

TEST(RegistryFault, PassesOnThatRefusalsCouldNotBeMerged) {
  VakUseUnpooledMemory();
  VakTestScript script;
  VakScopedEnv env;
  auto* a = VakMakeNode(env.impl(), script, "A");
  VakExtractableArray arrays[2];
  int next = 0;
  for (const char* name : {"1", "2"}) {
    new VakTestAlgorithm(env.impl(), script, name, [&](VakTestAlgorithm& self, const VakChange&) {
      throw VakAlgorithm::CannotChangeException(VakAlgorithm(&self), arrays[next++ % 2]);
    });
  }
  script.log.reserve(10000);
  const auto refuse = [&] {
    try {
      env->change(VakTestChange());
    } catch (VakAlgorithm::CannotChangeException& refusal) {
      EXPECT_EQ(refusal.getExtractables().getSize(), 8);
      refusal.end();
    }
  };
  for (long failAt = 1; failAt < 100; ++failAt) {
    next = 0;
    for (auto& array : arrays) {
      array = VakExtractableArray(env->_allocator);
      for (int i = 0; i < 4; ++i) array.add(a);
    }
    VakFailingNew failing(failAt);
    try {
      refuse();
    } catch (const std::bad_alloc&) {
    }
    EXPECT_EQ(env->_registry.algorithmWalks, nullptr);
    if (!failing.hasFailed()) return;
  }
  FAIL();
}

}  // namespace
