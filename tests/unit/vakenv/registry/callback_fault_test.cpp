// Exceptions out of every callback, at every position.

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/environment_mode.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test_algorithm.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/plugins/plugin_manager.h"
#include "vakenv/registry/clone_manager.h"
#include "vakenv/registry/destroyable.h"

namespace {

struct Failure : std::runtime_error {
  Failure() : std::runtime_error("the chosen callback") {}
};

// Counts callbacks and lets one of them throw.
struct Countdown {
  void tick() {
    if (++calls == failAt) throw Failure();
  }
  long failAt = 0;
  long calls = 0;
};

// A model whose every callback ticks: two variables, constraints that go when they are empty, two
// algorithms and a notified plug-in.
struct World {
  explicit World(Countdown& callbacks) : countdown(callbacks) {
    x = VakMakeNode(env.impl(), script, "X");
    y = VakMakeNode(env.impl(), script, "Y");
    goes({x});
    goes({x, y});
    auto* top = goes({goes({y})});
    top->refer(x);
    VakMakeNode(env.impl(), script, "model", {x, y, top});
    for (const char* name : {"1", "2"}) {
      new VakTestAlgorithm(env.impl(), script, name,
                           [this](VakTestAlgorithm&, const VakChange&) { countdown.tick(); });
    }
    plugIn = VakCreate<Plugged>(env.impl(), countdown);
    env->_plugInManager->addNotified(plugIn);
    const auto tick = [this](VakTestNode&) { countdown.tick(); };
    script.onSweep = tick;
    script.onNotify = tick;
    script.onDestruct = tick;
    script.onClone = tick;
  }
  ~World() {
    script.onDestruct = {};
    env->_plugInManager->removeNotified(plugIn);
    delete plugIn;
  }

  class Plugged : public VakNotifiedPlugIn {
   public:
    Plugged(VakEnvI* env, Countdown& countdown) : VakNotifiedPlugIn(env), _countdown(countdown) {}
    void notifyChange(const VakChange&, const VakExtractableI*) override { _countdown.tick(); }
    Countdown& _countdown;
  };

  VakTestNode* goes(std::initializer_list<VakExtractableI*> refs) {
    auto* node = VakMakeNode(env.impl(), script, "C", refs);
    node->_goesWhenEmpty = true;
    return node;
  }

  // What holds whatever was broken off before. A removal that came to its end may have left objects
  // hidden that asked for their own removal; one that was abandoned shows everything.
  void expectUsable(bool wasBrokenOff) {
    countdown.failAt = 0;
    env->abandonRemoval();
    EXPECT_FALSE(env->isRemoving());
    const VakRegistryState& registry = env->_registry;
    EXPECT_EQ(registry.algorithmWalks, nullptr);
    EXPECT_EQ(registry.plugIns.notified, nullptr);
    EXPECT_EQ(registry.watches, nullptr);
    EXPECT_EQ(registry.callRolls, nullptr);
    EXPECT_EQ(registry.pending.getSize() + registry.deferred.getSize() + registry.nested.getSize(),
              0);
    EXPECT_EQ(env->isCloningLocked(), 0);
    EXPECT_EQ(env->_cloneManager->expander, nullptr);
    EXPECT_EQ(env->_localEnv, nullptr);
    EXPECT_EQ(env->_idManager->check(), "");
    expectLiveSlots();
    if (wasBrokenOff) {
      EXPECT_EQ(countHidden(), 0);
    }
    auto* fresh = VakMakeNode(env.impl(), script, "fresh");
    auto* user = VakMakeNode(env.impl(), script, "user", {fresh});
    env->removeFromAllAndDestroy(fresh, 0);
    EXPECT_EQ(user->_refs.getSize(), 0);
    EXPECT_FALSE(env->isRemoving());
    EXPECT_NE(env->getClone(user), nullptr);
    expectLiveSlots();
  }
  void expectLiveSlots() {
    const VakIdManager& ids = *env->_idManager;
    for (VakInt id = 0; id < ids._size; ++id) {
      if (ids.isLive(id)) {
        EXPECT_EQ(static_cast<VakExtractableI*>(ids._data[id])->id, id);
      }
    }
  }
  [[nodiscard]] long countHidden() const {
    const VakIdManager& ids = *env->_idManager;
    long hidden = 0;
    for (VakInt id = 0; id < ids._size; ++id) hidden += ids.isHidden(id) ? 1 : 0;
    return hidden;
  }

  Countdown& countdown;
  VakTestScript script;
  VakScopedEnv env;
  VakTestNode* x;
  VakTestNode* y;
  Plugged* plugIn;
  bool isNested = false;
};

// Runs `operation` on a new world with each of its callbacks failing in turn; returns how many
// there are.
long failEachCallback(const std::function<void(World&)>& operation) {
  for (long failAt = 1;; ++failAt) {
    Countdown countdown;
    World world(countdown);
    countdown.calls = 0;
    countdown.failAt = failAt;
    try {
      operation(world);
    } catch (const Failure&) {
    }
    const bool hasFailed = countdown.calls >= failAt;
    world.expectUsable(hasFailed);
    if (!hasFailed) return failAt - 1;
  }
}

VakExtractableArray both(World& w) {
  VakExtractableArray array(w.env->_allocator);
  array.add(w.x);
  array.add(w.y);
  return array;
}

TEST(CallbackFault, InARemoval) {
  EXPECT_GT(failEachCallback([](World& w) { w.env->removeFromAll(w.x); }), 8);
}

TEST(CallbackFault, InARemovalOfAnArray) {
  EXPECT_GT(failEachCallback([](World& w) {
              VakExtractableArray array(w.env->_allocator);
              auto* plain = VakMakeNode(w.env.impl(), w.script, "plain");
              array.add(plain);
              w.env->removeFromAll(array);
              EXPECT_TRUE(w.env->_idManager->isLive(plain->id));
            }),
            8);
}

TEST(CallbackFault, InARemovalWithDestruction) {
  EXPECT_GT(failEachCallback([](World& w) { w.env->removeFromAllAndDestroy(w.x, 0); }), 15);
}

TEST(CallbackFault, InARemovalOfAnArrayWithDestruction) {
  EXPECT_GT(failEachCallback([](World& w) { w.env->removeFromAllAndDestroy(both(w), 0); }), 30);
}

TEST(CallbackFault, InADestruction) {
  EXPECT_EQ(failEachCallback([](World& w) {
              auto* lonely = VakMakeNode(w.env.impl(), w.script, "lonely");
              w.env->destroy(lonely, 0);
            }),
            5);
}

TEST(CallbackFault, InANestedRemoval) {
  EXPECT_GT(failEachCallback([](World& w) {
              w.script.onSweep = [&w](VakTestNode&) {
                w.countdown.tick();
                if (w.isNested) return;
                w.isNested = true;
                w.env->removeFromAll(w.y);
              };
              w.env->removeFromAllAndDestroy(w.x, 0);
            }),
            20);
}

TEST(CallbackFault, InCopiesAndSubstitutions) {
  const auto copyAll = [](World& w) {
    const VakIdManager& ids = *w.env->_idManager;
    auto* model = static_cast<VakExtractableI*>(ids._data[ids._size - 1]);
    w.env->getClone(model);
    w.env->substitute(model);
  };
  EXPECT_GT(failEachCallback(copyAll), 8);
}

TEST(CallbackFault, InAChange) {
  EXPECT_EQ(failEachCallback([](World& w) { w.env->change(w.x, VakTestChange()); }), 3);
}

TEST(CallbackFault, InADestructorOfAnyObjectThatEndsWithTheEnvironment) {
  class Fragile : public VakDestroyableI {
   public:
    Fragile(VakEnvI* env, Countdown& countdown) : VakDestroyableI(env), _countdown(countdown) {}
    ~Fragile() noexcept(false) override { _countdown.tick(); }
    Countdown& _countdown;
  };
  VakUseUnpooledMemory();
  for (long failAt = 1; failAt <= 7; ++failAt) {
    Countdown countdown;
    countdown.failAt = failAt;
    VakTestScript script;
    script.onDestruct = [&](VakTestNode&) { countdown.tick(); };
    VakScopedEnv env;
    for (int i = 0; i < 3; ++i) {
      static_cast<void>(VakCreate<Fragile>(env.impl(), countdown));
      VakMakeNode(env.impl(), script, "n");
    }
    if (failAt <= 6) {
      EXPECT_THROW(env.env.end(), Failure);
    } else {
      env.env.end();
    }
    EXPECT_EQ(countdown.calls, 6);
  }
}

}  // namespace
