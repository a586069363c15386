// Removal with destruction: the release loop and what it destroys in which order.

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/scoped_env.h"
#include "tests/support/test_algorithm.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/registry/recycle_bin.h"

namespace {

struct World {
  VakTestScript script;
  VakScopedEnv env;
  VakIdManager& ids = *env->_idManager;

  VakTestNode* node(const char* name, std::initializer_list<VakExtractableI*> refs = {}) {
    return VakMakeNode(env.impl(), script, name, refs);
  }
  VakTestNode* constraint(const char* name, std::initializer_list<VakExtractableI*> refs) {
    VakTestNode* c = node(name, refs);
    c->_goesWhenEmpty = true;
    return c;
  }
  VakExtractableArray array(std::initializer_list<VakExtractableI*> elements) const {
    VakExtractableArray all(env->_allocator);
    for (VakExtractableI* e : elements) all.add(e);
    return all;
  }
  void listen() { new VakTestAlgorithm(env.impl(), script, "alg"); }
  // The log without what it says of notifications.
  std::string destructions() {
    std::erase_if(script.log, [](const std::string& line) { return line.starts_with("notify"); });
    return script.takeLog();
  }
  // Lets the destructor of the node with this name do something, once.
  void whenDestroyed(const char* name, std::function<void(VakTestNode&)> action) {
    script.onDestruct = [this, name, action](VakTestNode& self) {
      if (self.text() != name) return;
      script.onDestruct = {};
      action(self);
    };
  }
};

TEST(ReleaseLoop, DestroysTheObjectAndWhatRefersOnlyToIt) {
  World w;
  auto* x = w.node("X");
  auto* y = w.node("Y");
  w.constraint("C", {x});
  auto* d = w.constraint("D", {x, y});
  w.listen();
  w.env->removeFromAllAndDestroy(x, 0);
  EXPECT_EQ(w.script.takeLog(),
            "alg: removed [X C], notify C, alg: destroy C / C, ~C, notify X, alg: destroy X / X, "
            "~X");
  EXPECT_FALSE(d->refersTo(x));
  EXPECT_FALSE(w.env->isRemoving());
}

TEST(ReleaseLoop, GoesFromTheEndOfThePendingArrayToItsStart) {
  World w;
  auto array = w.array({w.node("A"), w.node("B"), w.node("C")});
  w.env->removeFromAllAndDestroy(array, 0);
  EXPECT_EQ(w.destructions(), "~C, ~B, ~A");
}

TEST(ReleaseLoop, DestroysWhatIsAskedForDuringTheSweepInTheSameCycle) {
  World w;
  auto* x = w.node("X");
  auto* c = w.constraint("C", {x});
  w.constraint("D", {c});
  w.env->removeFromAllAndDestroy(x, 0);
  EXPECT_EQ(w.destructions(), "~D, ~C, ~X");
}

TEST(ReleaseLoop, DestroysWhatIsAskedForDuringDestructionInTheNextCycleWithoutASweep) {
  World w;
  auto* later = w.node("later");
  auto array = w.array({w.node("A"), w.node("B")});
  w.node("other");
  w.script.logsSweeps = true;
  w.whenDestroyed("B", [&](VakTestNode&) {
    w.env->removeFromAllAndDestroy(later, 0);
    EXPECT_FALSE(VakExtractableI::IsHidden(later));
  });
  w.env->removeFromAllAndDestroy(array, 0);
  EXPECT_EQ(w.destructions(), "sweep later, sweep other, ~B, ~A, ~later");
}

TEST(ReleaseLoop, DestroysAConstraintThatAsksForItsRemovalInANotification) {
  World w;
  auto* x = w.node("X");
  auto* c = w.node("C", {x});
  w.script.onNotify = [&](VakTestNode& self) {
    if (&self == x) w.env->removeFromAllAndDestroy(c, 0);
  };
  w.env->removeFromAllAndDestroy(x, 0);
  EXPECT_EQ(w.destructions(), "~X, ~C");
}

TEST(ReleaseLoop, RunsAsManyCyclesAsAreAskedFor) {
  World w;
  std::vector<VakTestNode*> chain;
  for (const char* name : {"1", "2", "3", "4", "5"}) chain.push_back(w.node(name));
  w.script.onDestruct = [&](VakTestNode& self) {
    const auto next = static_cast<std::size_t>(self.text()[0] - '0');
    if (next < chain.size()) w.env->removeFromAllAndDestroy(chain[next], 0);
  };
  w.env->removeFromAllAndDestroy(chain[0], 0);
  EXPECT_EQ(w.destructions(), "~1, ~2, ~3, ~4, ~5");
}

TEST(ReleaseLoop, DestroysDuplicatesOfTheRequestOnce) {
  World w;
  auto* a = w.node("A");
  auto array = w.array({a, w.node("B"), a, nullptr});
  w.env->removeFromAllAndDestroy(array, 0);
  EXPECT_EQ(w.destructions(), "~B, ~A");
}

TEST(ReleaseLoop, DestroysOnceWhatWasDeferredTwice) {
  World w;
  auto* later = w.node("later");
  auto* trigger = w.node("T");
  w.whenDestroyed("T", [&](VakTestNode&) {
    w.env->removeFromAllAndDestroy(later, 0);
    w.env->removeFromAllAndDestroy(later, 0);
    EXPECT_EQ(w.env->_recycleBin->deferred.getSize(), 2);
  });
  w.env->removeFromAllAndDestroy(trigger, 0);
  EXPECT_EQ(w.destructions(), "~T, ~later");
}

TEST(ReleaseLoop, SkipsWhatWasDeferredAndThenDestroyedByAnotherPath) {
  World w;
  auto* later = w.node("later");
  auto* trigger = w.node("T");
  VakTestNode* fresh = nullptr;
  w.whenDestroyed("T", [&](VakTestNode&) {
    w.env->removeFromAllAndDestroy(later, 0);
    delete later;
    fresh = w.node("fresh");  // gets the identifier, and most likely the address, of the dead one
    EXPECT_EQ(fresh->id, 0);
  });
  w.env->removeFromAllAndDestroy(trigger, 0);
  EXPECT_EQ(w.destructions(), "~T, ~later");
  EXPECT_EQ(w.ids._data[0], fresh);
}

TEST(ReleaseLoop, SkipsWhatIsPendingAndDestroyedByAnotherPath) {
  World w;
  auto* a = w.node("A");
  auto* b = w.node("B");
  auto array = w.array({a, b, w.node("C")});
  VakTestNode* fresh = nullptr;
  w.whenDestroyed("C", [&](VakTestNode&) {
    delete a;
    fresh = w.node("fresh");
  });
  w.env->removeFromAllAndDestroy(array, 0);
  EXPECT_EQ(w.destructions(), "~C, ~A, ~B");
  EXPECT_EQ(w.ids._data[fresh->id], fresh);
}

TEST(ReleaseLoop, SkipsWhatIsDeletedDuringTheSweep) {
  World w;
  auto* a = w.node("A");
  auto* b = w.node("B");
  w.node("other");
  w.listen();
  w.script.onSweep = [&](VakTestNode&) {
    w.script.onSweep = {};
    delete a;
  };
  auto array = w.array({a, b});
  w.env->removeFromAllAndDestroy(array, 0);
  EXPECT_EQ(w.script.takeLog(), "~A, alg: removed [B], notify B, alg: destroy B / B, ~B");
}

TEST(ReleaseLoop, SweepsAgainForWhatWasAddedAfterSomethingPendingDied) {
  World w;
  auto* a = w.node("A");
  auto* b = w.node("B");
  auto* first = w.node("first", {b});
  auto* last = w.node("last");
  w.script.onSweep = [&](VakTestNode& self) {
    if (&self != last) return;
    w.script.onSweep = {};
    delete a;
    w.env->removeFromAllAndDestroy(b, 0);
  };
  w.env->removeFromAllAndDestroy(a, 0);
  EXPECT_FALSE(first->refersTo(b));
  EXPECT_EQ(w.destructions(), "~A, ~B");
}

TEST(ReleaseLoop, SkipsWhatAListenerOfTheReportDestroys) {
  World w;
  auto* a = w.node("A");
  auto* b = w.node("B");
  new VakTestAlgorithm(w.env.impl(), w.script, "later");
  new VakTestAlgorithm(w.env.impl(), w.script, "alg",
                       [a](VakTestAlgorithm& self, const VakChange&) {
                         self._listener = {};
                         delete a;
                       });
  auto array = w.array({a, b});
  w.env->removeFromAllAndDestroy(array, 0);
  EXPECT_EQ(w.destructions(),
            "alg: removed [A B], ~A, later: removed [- B], alg: destroy B / B, later: destroy B / "
            "B, ~B");
}

TEST(ReleaseLoop, ReportsNoDeadObjectWhenADestructorRemovesSomething) {
  World w;
  auto* x = w.node("X");
  auto array = w.array({w.node("A"), w.node("B"), w.node("C")});
  w.whenDestroyed("C", [&](VakTestNode&) {
    delete array[0];
    w.env->removeFromAll(x);
  });
  new VakTestAlgorithm(w.env.impl(), w.script, "alg");
  w.env->removeFromAllAndDestroy(array, 0);
  EXPECT_EQ(w.destructions(),
            "alg: removed [A B C], alg: destroy C / C, ~C, ~A, alg: removed [B], alg: destroy B / "
            "B, ~B");
  EXPECT_TRUE(VakExtractableI::IsHidden(x));
}

TEST(ReleaseLoop, ShrinksThePendingArrayAsItsElementsAreDestroyed) {
  World w;
  auto array = w.array({w.node("A"), w.node("B"), w.node("C")});
  std::string sizes;
  w.script.onDestruct = [&](VakTestNode& self) {
    // The object that is being destroyed is unregistered already.
    EXPECT_EQ(self.id, -1);
    sizes += std::to_string(w.env->_recycleBin->pending.getSize());
  };
  w.env->removeFromAllAndDestroy(array, 0);
  EXPECT_EQ(sizes, "210");
}

TEST(ReleaseLoop, TakesTheArrayFormWithinARemoval) {
  World w;
  auto* x = w.node("X");
  auto* c = w.node("C", {x});
  auto* d = w.node("D");
  auto* e = w.node("E");
  auto array = w.array({d, e, d});
  w.script.onSweep = [&](VakTestNode& self) {
    if (&self == c) w.env->removeFromAllAndDestroy(array, 0);
  };
  w.env->removeFromAllAndDestroy(x, 0);
  EXPECT_EQ(w.destructions(), "~E, ~D, ~X");
}

TEST(ReleaseLoop, TakesRequestsForUnregisteredAndHiddenObjects) {
  World w;
  auto* x = w.node("X");
  auto* u = w.node("U");
  auto* c = w.node("C");
  w.env->finit(u);
  w.script.onSweep = [&](VakTestNode& self) {
    if (&self != c) return;
    w.env->removeFromAllAndDestroy(u, 0);
    w.env->removeFromAllAndDestroy(x, 0);
  };
  w.env->removeFromAllAndDestroy(x, 0);
  EXPECT_EQ(w.destructions(), "~X");
  w.script.onSweep = {};
  w.env->removeFromAllAndDestroy(u, 0);
  EXPECT_EQ(w.destructions(), "");
  delete u;
}

TEST(ReleaseLoop, IgnoresLaterReleasesOfAnExpressionThatItDestroyed) {
  World w;
  auto* inner = VakCreate<VakTestNumExpr>(w.env.impl(), w.script, "inner");
  auto* outer = VakCreate<VakTestNumExpr>(w.env.impl(), w.script, "outer", inner);
  auto array = w.array({outer, inner});
  w.env->removeFromAllAndDestroy(array, 0);
  EXPECT_EQ(w.script.takeLog(), "~inner, ~outer");
}

TEST(ReleaseLoop, DestroysAnOperandWithItsLastUser) {
  World w;
  auto* inner = VakCreate<VakTestAnyExpr>(w.env.impl(), w.script, "inner");
  auto* outer = VakCreate<VakTestAnyExpr>(w.env.impl(), w.script, "outer", inner);
  w.env->removeFromAllAndDestroy(outer, 0);
  EXPECT_EQ(w.script.takeLog(), "~outer, ~inner");
}

TEST(ReleaseLoop, DestroysAnOperandThatIsPendingAheadOfItsUserOnce) {
  World w;
  auto* inner = VakCreate<VakTestNumExpr>(w.env.impl(), w.script, "inner");
  auto* outer = VakCreate<VakTestNumExpr>(w.env.impl(), w.script, "outer", inner);
  auto array = w.array({inner, outer});
  w.env->removeFromAllAndDestroy(array, 0);
  EXPECT_EQ(w.script.takeLog(), "~outer, ~inner");
}

TEST(ReleaseLoop, DoesNotMistakeANewExpressionForADestroyedOne) {
  World w;
  auto* old = VakCreate<VakTestNumExpr>(w.env.impl(), w.script, "old");
  old->use();
  auto* trigger = w.node("T");
  bool sameAddress = false;
  w.whenDestroyed("T", [&](VakTestNode&) {
    w.env->destroy(old, 0);
    for (int i = 0; i < 100 && !sameAddress; ++i) {
      auto* fresh = VakCreate<VakTestNumExpr>(w.env.impl(), w.script, "fresh");
      sameAddress = fresh == old;
      if (!sameAddress) continue;
      fresh->use();
      w.env->release(fresh);
    }
  });
  w.env->removeFromAllAndDestroy(trigger, 0);
  if (!sameAddress) GTEST_SKIP() << "the heap gave no address out again";
  EXPECT_EQ(w.destructions(), "~T, ~old, ~fresh");
}

TEST(ReleaseLoop, GivesAllMemoryBack) {
  World w;
  auto* warm = w.node("warm");
  w.env->removeFromAllAndDestroy(warm, 0);
  const VakInt before = w.env->getMemoryUsage();
  for (int round = 0; round < 3; ++round) {
    auto* x = w.node("X");
    for (int i = 0; i < 100; ++i) w.constraint("C", {x});
    w.env->removeFromAllAndDestroy(x, 0);
    EXPECT_EQ(w.env->getMemoryUsage(), before);
  }
}

TEST(ReleaseLoop, StopsWhereADestructionThrowsAndCanBeAbandoned) {
  World w;
  auto* a = w.node("A");
  auto* b = w.node("B");
  auto* c = w.node("C");
  auto* later = w.node("later");
  w.script.onNotify = [&](VakTestNode& self) {
    if (&self == c) w.env->removeFromAllAndDestroy(later, 0);
    if (&self == b) throw std::runtime_error("notify");
  };
  auto array = w.array({a, b, c});
  EXPECT_THROW(w.env->removeFromAllAndDestroy(array, 0), std::runtime_error);
  EXPECT_EQ(w.destructions(), "~C");
  EXPECT_TRUE(w.env->isRemoving());
  w.script.onNotify = {};
  w.env->abandonRemoval();
  for (auto* each : {a, b, later}) EXPECT_EQ(w.ids._data[each->id], each);
  w.env->removeFromAllAndDestroy(array.getSize() > 0 ? a : nullptr, 0);
  EXPECT_EQ(w.destructions(), "~A");
}

TEST(ReleaseLoop, StaysQuickWhenObjectsDieFarFromTheEndOfTheList) {
  World w;
  constexpr int count = 20000;
  auto array = w.array({});
  std::vector<VakTestNumExpr*> inner;
  for (int i = 0; i < count; ++i) {
    inner.push_back(VakCreate<VakTestNumExpr>(w.env.impl(), w.script, "inner"));
    array.add(inner.back());
  }
  for (auto* e : inner) {
    array.add(VakCreate<VakTestNumExpr>(w.env.impl(), w.script, "outer", e));
  }
  w.env->removeFromAllAndDestroy(array, 0);
  EXPECT_EQ(w.script.log.size(), 2UL * count);
}

}  // namespace
