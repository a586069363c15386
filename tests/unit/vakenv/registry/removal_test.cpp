// Destruction and removal.

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>

#include "tests/support/scoped_env.h"
#include "tests/support/test_algorithm.h"
#include "tests/support/test_deleter.h"
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
  // A node that asks for its removal when a removal leaves it without references.
  VakTestNode* constraint(const char* name, std::initializer_list<VakExtractableI*> refs) {
    VakTestNode* c = node(name, refs);
    c->_goesWhenEmpty = true;
    return c;
  }
  VakTestNumExpr* expr(const char* name, VakTestNumExpr* operand = nullptr) {
    return VakCreate<VakTestNumExpr>(env.impl(), script, name, operand);
  }
  VakExtractableArray array(std::initializer_list<VakExtractableI*> elements) const {
    VakExtractableArray all(env->_allocator);
    for (VakExtractableI* e : elements) all.add(e);
    return all;
  }
  bool hidden(const VakExtractableI* e) const { return VakExtractableI::IsHidden(e); }
  bool live(const VakExtractableI* e) const { return ids._data[e->id] == e; }
  void listen() { new VakTestAlgorithm(env.impl(), script, "alg"); }
};

// ---- destroy ------------------------------------------------------------------------------------

TEST(Destroy, NotifiesUnregistersAndDeletes) {
  World w;
  auto* a = w.node("A");
  w.listen();
  w.env->destroy(a, 0);
  EXPECT_EQ(w.script.takeLog(), "notify A, alg: destroy A / A, ~A");
  EXPECT_FALSE(w.ids.isLive(0));
}

TEST(Destroy, WithKeepUnregistersButLeavesTheObjectAllocated) {
  World w;
  auto* a = w.node("A");
  w.env->destroy(a, 1);
  EXPECT_EQ(a->id, -1);
  EXPECT_EQ(w.script.takeLog(), "notify A");
  delete a;
}

TEST(Destroy, LeavesTheObjectRegisteredWhenItsNotificationThrows) {
  World w;
  auto* a = w.node("A");
  w.script.onNotify = [](VakTestNode&) { throw std::runtime_error("notify"); };
  EXPECT_THROW(w.env->destroy(a, 0), std::runtime_error);
  EXPECT_EQ(a->id, 0);
  EXPECT_TRUE(w.live(a));
}

TEST(Destroy, LeavesTheObjectRegisteredWhenAnAlgorithmRefuses) {
  World w;
  auto* a = w.node("A");
  new VakTestAlgorithm(w.env.impl(), w.script, "alg", [](VakTestAlgorithm& self, const VakChange&) {
    throw VakAlgorithm::CannotChangeException(VakAlgorithm(&self), VakExtractableArray());
  });
  EXPECT_THROW(w.env->destroy(a, 0), VakAlgorithm::CannotChangeException);
  EXPECT_TRUE(w.live(a));
}

TEST(Destroy, HasNothingLeftToDoWhenAListenerDestroyedTheObject) {
  World w;
  auto* a = w.node("A");
  new VakTestAlgorithm(w.env.impl(), w.script, "alg",
                       [&w, a](VakTestAlgorithm& self, const VakChange&) {
                         self._listener = {};
                         w.env->destroy(a, 0);
                       });
  w.env->destroy(a, 0);
  EXPECT_EQ(w.script.takeLog(), "notify A, alg: destroy A / A, notify A, alg: destroy A / A, ~A");
}

TEST(Destroy, WorksOnAnUnregisteredObject) {
  World w;
  auto* a = w.node("A");
  auto* b = w.node("B");
  w.env->finit(a);
  w.env->destroy(a, 0);
  EXPECT_EQ(w.script.takeLog(), "notify A, ~A");
  EXPECT_TRUE(w.live(b));
}

TEST(Destroy, RecordsAnExpressionInUseOnlyWhileARemovalRuns) {
  World w;
  auto* used = w.expr("E");
  used->use();
  w.env->destroy(used, 0);
  auto* trigger = w.node("T");
  auto* used2 = w.expr("F");
  auto* unused = w.expr("U");
  used2->use();
  bool recorded = false;
  bool recordedUnused = true;
  w.script.onDestruct = [&](VakTestNode&) {
    VakExtractableI* found = nullptr;
    w.env->destroy(used2, 0);
    w.env->destroy(unused, 0);
    recorded = w.env->_recycleBin->destroyed.find(used2, found) == VakHashDone && found == used2;
    recordedUnused = w.env->_recycleBin->destroyed.find(unused, found) == VakHashDone;
  };
  w.env->removeFromAllAndDestroy(trigger, 0);
  EXPECT_TRUE(recorded);
  EXPECT_FALSE(recordedUnused);
}

TEST(Destroy, RecordsAnExpressionOnceEvenIfItIsKeptAndDestroyedTwice) {
  World w;
  auto* trigger = w.node("T");
  auto* used = w.expr("E");
  used->use();
  VakInt items = 0;
  w.script.onDestruct = [&](VakTestNode&) {
    w.env->destroy(used, 1);
    w.env->destroy(used, 1);
    items = w.env->_recycleBin->destroyed._nbItems;
  };
  w.env->removeFromAllAndDestroy(trigger, 0);
  EXPECT_EQ(items, 1);
  w.script.onDestruct = {};
  delete used;
}

// ---- removeFromAll of one -----------------------------------------------------------------------

TEST(RemoveFromAll, DropsReferencesAndKeepsTheObject) {
  World w;
  auto* x = w.node("X");
  auto* y = w.node("Y");
  auto* c = w.node("C", {x, y, x});
  w.listen();
  w.env->removeFromAll(x);
  EXPECT_FALSE(c->refersTo(x));
  EXPECT_TRUE(c->refersTo(y));
  EXPECT_TRUE(w.live(x));
  EXPECT_FALSE(w.env->isRemoving());
  EXPECT_EQ(w.script.takeLog(), "alg: removed [X]");
}

TEST(RemoveFromAll, CallsEveryVisibleObjectOnceWithModeZero) {
  World w;
  auto* x = w.node("X");
  w.node("A");
  w.node("B");
  w.script.logsSweeps = true;
  w.env->removeFromAll(x);
  EXPECT_EQ(w.script.takeLog(), "sweep A, sweep B");
}

TEST(RemoveFromAll, SweepsAgainAsLongAsTheListGrows) {
  World w;
  auto* x = w.node("X");
  auto* first = w.node("A");
  auto* c = w.constraint("C", {x});
  auto* d = w.constraint("D", {c});
  w.listen();
  w.script.logsSweeps = true;
  w.env->removeFromAll(x);
  EXPECT_EQ(w.script.takeLog(), "sweep A, sweep C, sweep D, sweep A, alg: removed [X C D]");
  EXPECT_TRUE(w.live(first));
  EXPECT_TRUE(w.live(x));
  EXPECT_TRUE(w.hidden(c));  // deliberate: what asked for its removal stays hidden
  EXPECT_TRUE(w.hidden(d));
}

TEST(RemoveFromAll, OfAnUnregisteredObjectIsHarmlessAndStillReports) {
  World w;
  auto* x = w.node("X");
  auto* a = w.node("A");
  w.env->finit(x);
  w.listen();
  w.env->removeFromAll(x);
  EXPECT_EQ(w.script.takeLog(), "alg: removed []");
  EXPECT_TRUE(w.live(a));
  EXPECT_EQ(x->id, -1);
  delete x;
}

TEST(RemoveFromAll, ShowsAHiddenObjectAgain) {
  World w;
  auto* x = w.node("X");
  auto* c = w.constraint("C", {x});
  w.env->removeFromAll(x);
  EXPECT_TRUE(w.hidden(c));
  w.env->removeFromAll(c);
  EXPECT_TRUE(w.live(c));
}

TEST(RemoveFromAll, WithinARemovalIsNotListedAndStaysHidden) {
  World w;
  auto* x = w.node("X");
  auto* y = w.node("Y");
  auto* c = w.node("C", {y});
  w.listen();
  w.script.onSweep = [&](VakTestNode& self) {
    if (&self == y && !w.hidden(y)) w.env->removeFromAll(y);
  };
  w.env->removeFromAll(x);
  EXPECT_EQ(w.script.takeLog(), "alg: removed [X], alg: removed [X]");
  EXPECT_TRUE(w.hidden(y));
  EXPECT_FALSE(c->refersTo(y));
  EXPECT_TRUE(w.live(x));
}

TEST(RemoveFromAll, DoesNotRestoreAnObjectThatWasDestroyedMeanwhile) {
  World w;
  auto* x = w.node("X");
  w.node("A");
  VakTestNode* fresh = nullptr;
  w.script.onSweep = [&](VakTestNode&) {
    if (fresh != nullptr) return;
    delete x;
    fresh = w.node("fresh");
  };
  w.listen();
  w.env->removeFromAll(x);
  EXPECT_EQ(fresh->id, 0);
  EXPECT_TRUE(w.live(fresh));
  EXPECT_EQ(w.script.takeLog(), "~X, alg: removed []");
}

TEST(RemoveFromAll, LeavesTheBinSetWhenARemovalOperationThrows) {
  World w;
  auto* x = w.node("X");
  auto* c = w.constraint("C", {x});
  w.node("last");
  w.script.onSweep = [](VakTestNode& self) {
    if (self.text() == "last") throw std::runtime_error("sweep");
  };
  EXPECT_THROW(w.env->removeFromAll(x), std::runtime_error);
  EXPECT_TRUE(w.env->isRemoving());
  EXPECT_TRUE(w.hidden(x));
  EXPECT_TRUE(w.hidden(c));
}

TEST(AbandonRemoval, ShowsWhatIsStillHiddenAndReleasesTheBin) {
  World w;
  auto* x = w.node("X");
  auto* c = w.constraint("C", {x});
  auto* y = w.node("Y");
  w.node("last");
  w.env->removeFromAll(w.node("warm up"));
  const VakInt before = w.env->getMemoryUsage();
  w.script.onSweep = [&](VakTestNode& self) {
    if (self.text() != "last") return;
    w.script.onSweep = [](VakTestNode&) { throw std::runtime_error("sweep"); };
    w.env->removeFromAll(y);
  };
  EXPECT_THROW(w.env->removeFromAll(x), std::runtime_error);
  w.script.onSweep = {};
  w.env->abandonRemoval();
  EXPECT_FALSE(w.env->isRemoving());
  for (auto* each : {x, c, y}) EXPECT_TRUE(w.live(each));
  EXPECT_EQ(w.env->getMemoryUsage(), before);
  w.listen();
  w.env->removeFromAll(x);
  EXPECT_EQ(w.script.takeLog(), "alg: removed [X]");
}

TEST(AbandonRemoval, DoesNothingWithoutARemoval) {
  World w;
  w.env->abandonRemoval();
  EXPECT_FALSE(w.env->isRemoving());
}

TEST(AbandonRemoval, LeavesOutWhatHasGone) {
  World w;
  auto* x = w.node("X");
  auto* c = w.constraint("C", {x});
  w.node("last");
  w.script.onSweep = [](VakTestNode& self) {
    if (self.text() == "last") throw std::runtime_error("sweep");
  };
  EXPECT_THROW(w.env->removeFromAll(x), std::runtime_error);
  delete c;
  auto* fresh = w.node("fresh");
  EXPECT_EQ(fresh->id, 1);
  w.env->abandonRemoval();
  EXPECT_TRUE(w.live(x));
  EXPECT_TRUE(w.live(fresh));
}

TEST(RemoveFromAll, AfterABrokenRemovalGoesIntoTheOldBin) {
  World w;
  auto* x = w.node("X");
  auto* y = w.node("Y");
  w.script.onSweep = [](VakTestNode&) { throw std::runtime_error("sweep"); };
  EXPECT_THROW(w.env->removeFromAll(x), std::runtime_error);
  w.script.onSweep = {};
  w.listen();
  w.env->removeFromAll(y);
  EXPECT_EQ(w.script.takeLog(), "alg: removed [X]");
  EXPECT_TRUE(w.hidden(y));
}

TEST(RemoveFromAll, BinLeftByAnExceptionIsReleasedAtTheEnd) {
  World w;
  auto* x = w.node("X");
  w.node("A");
  w.script.onSweep = [](VakTestNode&) { throw std::runtime_error("sweep"); };
  EXPECT_THROW(w.env->removeFromAll(x), std::runtime_error);
  w.env.env.end();
  EXPECT_EQ(w.env.impl(), nullptr);
}

// ---- removeFromAll of an array ------------------------------------------------------------------

TEST(RemoveFromAllOfArray, DropsReferencesRestoresAndReports) {
  World w;
  auto* x = w.node("X");
  auto* y = w.node("Y");
  auto* z = w.node("Z");
  auto* c = w.node("C", {x, y, z});
  w.listen();
  auto array = w.array({y, x});
  w.env->removeFromAll(array);
  EXPECT_EQ(c->_refs.getSize(), 1);
  EXPECT_TRUE(w.live(x));
  EXPECT_TRUE(w.live(y));
  EXPECT_EQ(w.script.takeLog(), "alg: removed [Y X]");
  EXPECT_FALSE(w.env->isRemoving());
}

TEST(RemoveFromAllOfArray, TakesNullDuplicateAndUnregisteredElements) {
  World w;
  auto* x = w.node("X");
  auto* u = w.node("U");
  auto* c = w.node("C", {x, u});
  w.env->finit(u);
  w.listen();
  auto array = w.array({nullptr, x, u, x});
  w.env->removeFromAll(array);
  EXPECT_EQ(w.script.takeLog(), "alg: removed [- X U X]");
  EXPECT_TRUE(w.live(x));
  EXPECT_FALSE(c->refersTo(x));
  delete u;
}

TEST(RemoveFromAllOfArray, TakesAnEmptyHandle) {
  World w;
  w.node("A");
  w.listen();
  w.env->removeFromAll(VakExtractableArray());
  EXPECT_EQ(w.script.takeLog(), "alg: removed []");
}

TEST(RemoveFromAllOfArray, SweepsAgainWhenItsArrayGrowsAndLeavesWhatWasAddedVisible) {
  World w;
  auto* x = w.node("X");
  auto* y = w.node("Y");
  auto array = w.array({x});
  w.script.logsSweeps = true;
  w.script.onSweep = [&](VakTestNode&) {
    if (array.getSize() == 1) array.add(y);
  };
  w.env->removeFromAll(array);
  EXPECT_EQ(w.script.takeLog(), "sweep Y, sweep Y");
  EXPECT_TRUE(w.live(y));
}

TEST(RemoveFromAllOfArray, RestoresOnlyWhatItHidItself) {
  World w;
  auto* x = w.node("X");
  auto* c = w.constraint("C", {x});
  w.env->removeFromAll(x);
  ASSERT_TRUE(w.hidden(c));
  auto array = w.array({x, c});
  w.env->removeFromAll(array);
  EXPECT_TRUE(w.live(x));
  EXPECT_TRUE(w.hidden(c));
}

TEST(RemoveFromAllOfArray, WithinARemovalUsesNoBinAndDoesNotShowWhatTheRemovalHides) {
  World w;
  auto* x = w.node("X");
  auto* y = w.node("Y");
  auto* c = w.node("C", {y});
  auto array = w.array({x, y});
  w.listen();
  bool hiddenAfter = false;
  bool visibleAfter = false;
  w.script.onSweep = [&](VakTestNode&) {
    w.script.onSweep = {};
    w.env->removeFromAll(array);
    hiddenAfter = w.hidden(x);
    visibleAfter = w.live(y);
  };
  w.env->removeFromAll(x);
  EXPECT_TRUE(hiddenAfter);
  EXPECT_TRUE(visibleAfter);
  EXPECT_FALSE(c->refersTo(y));
  EXPECT_EQ(w.script.takeLog(), "alg: removed [X Y], alg: removed [X]");
}

TEST(RemoveFromAllOfArray, LeavesOutOfTheReportWhatDiedMeanwhile) {
  World w;
  auto* x = w.node("X");
  auto* y = w.node("Y");
  auto* u = w.node("U");
  w.node("A");
  w.env->finit(u);
  w.listen();
  VakTestNode* fresh = nullptr;
  w.script.onSweep = [&](VakTestNode&) {
    if (fresh != nullptr) return;
    delete x;
    fresh = w.node("fresh");
  };
  auto array = w.array({x, y, u, nullptr, x});
  w.env->removeFromAll(array);
  EXPECT_EQ(w.script.takeLog(), "~X, alg: removed [Y U -]");
  EXPECT_TRUE(w.live(fresh));
  EXPECT_TRUE(w.live(y));
  delete u;
}

TEST(RemoveFromAllOfArray, DoesNotShowADeadObjectWhoseIdentifierIsHiddenAnew) {
  World w;
  auto* x = w.node("X");
  w.node("A");
  auto array = w.array({x});
  VakTestNode* fresh = nullptr;
  w.script.onSweep = [&](VakTestNode&) {
    if (fresh != nullptr) return;
    delete x;
    fresh = w.node("fresh");
    EXPECT_EQ(fresh->id, 0);
    w.ids._data[0] = VakIdManager::HiddenMark();
  };
  w.env->removeFromAll(array);
  EXPECT_EQ(w.ids._data[0], VakIdManager::HiddenMark());
  w.ids._data[0] = fresh;
}

TEST(RemoveFromAllOfArray, RestoresItsElementsWhenARemovalOperationThrows) {
  World w;
  auto* x = w.node("X");
  w.node("A");
  w.script.onSweep = [](VakTestNode&) { throw std::runtime_error("sweep"); };
  auto array = w.array({x});
  EXPECT_THROW(w.env->removeFromAll(array), std::runtime_error);
  EXPECT_TRUE(w.live(x));
  EXPECT_FALSE(w.env->isRemoving());
  EXPECT_EQ(w.env->_registry.callRolls, nullptr);
}

TEST(RemoveFromAllOfArray, OfManyDoesNotSlowDownWhenTheyDieInAnyOrder) {
  World w;
  constexpr int count = 3000;
  auto array = w.array({});
  for (int i = 0; i < count; ++i) array.add(w.node("x"));
  auto* a = w.node("A");
  w.script.onSweep = [&](VakTestNode& self) {
    if (&self != a) return;
    w.script.onSweep = {};
    for (int i = 0; i < count; i += 2) delete array[i];
  };
  VakInt reported = 0;
  new VakTestAlgorithm(w.env.impl(), w.script, "alg",
                       [&](VakTestAlgorithm&, const VakChange& change) {
                         const auto& removed = static_cast<const VakRemoveFromAllChange&>(change);
                         reported = removed.getExtractables().getSize();
                       });
  w.env->removeFromAll(array);
  EXPECT_EQ(reported, count / 2);
}

// ---- identifiers and slots ----------------------------------------------------------------------

TEST(Removal, SweepsOverSixHundredExtractablesThatAreCreatedMeanwhile) {
  World w;
  auto* x = w.node("X");
  auto* c = w.node("C", {x});
  int created = 0;
  w.script.onSweep = [&](VakTestNode& self) {
    if (&self != c || created > 0) return;
    for (; created < 600; ++created) w.node("n")->refer(x);
  };
  w.env->removeFromAllAndDestroy(x, 0);
  EXPECT_EQ(created, 600);
  EXPECT_GE(w.ids._capacity, 1024);
  for (VakInt id = 1; id < w.ids._size; ++id) {
    if (!w.ids.isLive(id)) continue;
    EXPECT_EQ(static_cast<VakTestNode*>(w.ids._data[id])->_refs.getSize(), 0);
  }
}

TEST(Removal, SkipsLinksNullAndHiddenSlots) {
  World w;
  auto* a = w.node("A");
  w.env->useMTSafeAllocation(1);
  w.node("null slot");
  w.env->useMTSafeAllocation(0);
  auto* c = w.node("C");
  w.node("D");
  delete a;
  w.script.takeLog();
  w.script.logsSweeps = true;
  w.env->removeFromAll(c);
  EXPECT_EQ(w.script.takeLog(), "sweep D");
}

TEST(Removal, OfAnExtractableOfThreadSafeModeFillsItsSlotAndTakesItOutAgain) {
  World w;
  w.env->useMTSafeAllocation(1);
  auto* a = w.node("A");
  auto* c = w.node("C", {a});
  EXPECT_EQ(w.ids._data[a->id], nullptr);
  w.env->removeFromAll(a);
  EXPECT_EQ(w.ids._data[a->id], a);
  EXPECT_TRUE(c->refersTo(a));  // deliberate: its slot is null, so the sweep does not reach it
  delete a;
  EXPECT_EQ(w.ids._data[0], nullptr);
  w.env->useMTSafeAllocation(0);
  w.env->removeFromAll(c);
}

TEST(Removal, DoesNotShowAnExtractableThatWentInThreadSafeMode) {
  World w;
  auto* x = w.node("X");
  w.node("A");
  auto array = w.array({x});
  w.script.onSweep = [&](VakTestNode&) {
    w.script.onSweep = {};
    w.env->useMTSafeAllocation(1);
    delete x;
    w.env->useMTSafeAllocation(0);
  };
  w.env->removeFromAll(array);
  EXPECT_EQ(w.ids._data[0], nullptr);
}

// ---- deleter ------------------------------------------------------------------------------------

TEST(Removal, GoesToTheDeleterWhenThereIsOne) {
  World w;
  auto* a = w.node("A");
  w.env->setDeleter(VakCreate<VakTestDeleter>(w.env.impl(), w.script), 3);
  auto array = w.array({a, a});
  w.env->removeFromAllAndDestroy(a, 7);
  w.env->removeFromAllAndDestroy(array, 8);
  EXPECT_EQ(w.script.takeLog(), "delete 0 7, delete array of 2 8");
  EXPECT_FALSE(w.env->isRemoving());
  EXPECT_TRUE(w.live(a));
}

}  // namespace
