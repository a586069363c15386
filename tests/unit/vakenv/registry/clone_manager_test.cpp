#include "vakenv/registry/clone_manager.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "tests/support/recording_local_env.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test_algorithm.h"
#include "vakenv/arrays/array_impl.h"
#include "vakmodel/contract/expander.h"

namespace {

struct World {
  VakTestScript script;
  VakScopedEnv env;
  VakCloneManager& clones = *env->_cloneManager;

  VakTestNode* node(const char* name, std::initializer_list<VakExtractableI*> refs = {}) {
    return VakMakeNode(env.impl(), script, name, refs);
  }
};

VakTestNode* asNode(VakExtractableI* e) { return static_cast<VakTestNode*>(e); }

TEST(CloneManager, HasItsFieldsAndNothingElse) {
  EXPECT_EQ(sizeof(VakCloneManager), 5 * sizeof(void*));
}

TEST(CloneManager, StartsUnlockedAndEmpty) {
  World w;
  EXPECT_EQ(w.clones.env, w.env.impl());
  EXPECT_EQ(w.clones.locked, 0);
  EXPECT_EQ(w.clones.clones->_size, 0);
  EXPECT_EQ(w.clones.clones->_elementSize, 8);
  EXPECT_EQ(w.clones.ids.getSize(), 0);
  EXPECT_EQ(w.clones.expander, nullptr);
}

TEST(CloneManager, MakesTwoCopiesWithoutALock) {
  World w;
  auto* a = w.node("A");
  auto* first = w.env->getClone(a);
  auto* second = w.env->getClone(a);
  EXPECT_NE(first, a);
  EXPECT_NE(first, second);
  EXPECT_EQ(w.env->hasClone(a), 0);
  EXPECT_EQ(w.env->isCloningLocked(), 0);
}

TEST(CloneManager, MakesOneCopyUnderALock) {
  World w;
  auto* a = w.node("A");
  EXPECT_EQ(w.env->lockCloning(), 1);
  EXPECT_EQ(w.env->isCloningLocked(), 1);
  EXPECT_EQ(w.env->lockCloning(), 0);
  auto* first = w.env->getClone(a);
  EXPECT_EQ(w.env->getClone(a), first);
  EXPECT_EQ(w.env->hasClone(a), 1);
  EXPECT_EQ(w.script.takeLog(), "copy A");
  w.env->unlockCloning();
  EXPECT_EQ(w.env->hasClone(a), 0);
}

TEST(CloneManager, CopiesAGraphWithEachSharedPartOnce) {
  World w;
  auto* shared = w.node("S");
  auto* left = w.node("L", {shared});
  auto* right = w.node("R", {shared, left});
  auto* top = w.node("T", {left, right});
  auto* copy = asNode(w.env->getClone(top));
  EXPECT_EQ(w.script.takeLog(), "copy T, copy L, copy S, copy R");
  auto* leftCopy = asNode(copy->_refs[0]);
  auto* rightCopy = asNode(copy->_refs[1]);
  EXPECT_EQ(rightCopy->_refs[1], leftCopy);
  EXPECT_EQ(rightCopy->_refs[0], leftCopy->_refs[0]);
  EXPECT_NE(leftCopy->_refs[0], shared);
}

TEST(CloneManager, CopiesACycleWhenTheCopyIsRecordedEarly) {
  World w;
  auto* a = w.node("A");
  auto* b = w.node("B", {a});
  a->refer(b);
  VakTestNode* early = nullptr;
  w.script.onClone = [&](VakTestNode& self) {
    if (&self != a) return;
    early = w.node("early");
    w.env->setClone(a, early);
  };
  auto* copy = asNode(w.env->getClone(a));
  EXPECT_EQ(asNode(copy->_refs[0])->_refs[0], early);
}

TEST(CloneManager, KeepsTheFirstCopiesOfALevelAndForgetsTheLaterOnes) {
  World w;
  auto* a = w.node("A");
  auto* b = w.node("B");
  auto* c = w.node("C");
  w.env->lockCloning();
  auto* copy = w.env->getClone(a);
  const VakInt level = w.env->lockCloningLevel();
  EXPECT_EQ(level, 1);
  w.env->getClone(b);
  w.env->getClone(c);
  w.env->unlockCloningLevel(level);
  EXPECT_EQ(w.env->getClone(a), copy);
  EXPECT_EQ(w.env->hasClone(b), 0);
  EXPECT_EQ(w.env->hasClone(c), 0);
  EXPECT_EQ(w.env->lockCloningLevel(), 1);
  w.env->unlockCloning();
}

TEST(CloneManager, ClearsNothingAboveItsLevel) {
  World w;
  auto* a = w.node("A");
  w.env->lockCloning();
  w.env->getClone(a);
  w.env->unlockCloningLevel(5);
  EXPECT_EQ(w.env->hasClone(a), 1);
  w.env->unlockCloning();
}

TEST(CloneManager, AnswersForAnIdentifierBeyondTheTableWithoutGrowing) {
  World w;
  auto* a = w.node("A");
  EXPECT_EQ(w.env->hasClone(a), 0);
  EXPECT_EQ(w.clones.clones->_size, 0);
  w.env->finit(a);
  EXPECT_EQ(w.env->hasClone(a), 0);
  delete a;
}

TEST(CloneManager, RecordsWhatItIsTold) {
  World w;
  auto* a = w.node("A");
  auto* b = w.node("B");
  w.env->lockCloning();
  w.env->setClone(a, b);
  EXPECT_EQ(w.env->getClone(a), b);
  w.env->unlockCloning();
  EXPECT_EQ(w.script.takeLog(), "");
}

TEST(CloneManager, CopiesButDoesNotRecordAnUnregisteredExtractable) {
  World w;
  auto* a = w.node("A");
  w.env->finit(a);
  w.env->lockCloning();
  auto* copy = w.env->getClone(a);
  EXPECT_NE(copy, nullptr);
  EXPECT_NE(w.env->getClone(a), copy);
  w.env->setClone(a, copy);
  EXPECT_EQ(w.clones.ids.getSize(), 0);
  w.env->unlockCloning();
  delete a;
}

TEST(CloneManager, ForgetsTheCopyOfAnExtractableThatGoes) {
  World w;
  auto* a = w.node("A");
  w.env->lockCloning();
  w.env->getClone(a);
  delete a;
  auto* fresh = w.node("fresh");
  EXPECT_EQ(fresh->id, 0);
  EXPECT_EQ(w.env->hasClone(fresh), 0);
  w.env->unlockCloning();
}

TEST(CloneManager, DoesNotRecordTheCopyOfAnExtractableThatGoesMeanwhile) {
  World w;
  auto* a = w.node("A");
  w.env->lockCloning();
  w.script.onClone = [&](VakTestNode& self) { w.env->finit(&self); };
  EXPECT_NE(w.env->getClone(a), nullptr);
  EXPECT_EQ(w.clones.ids.getSize(), 0);
  w.env->unlockCloning();
  delete a;
}

TEST(CloneManager, GrowsWithNullEntries) {
  World w;
  w.clones.setMaxId(4);
  EXPECT_EQ(w.clones.clones->_size, 5);
  w.clones.setMaxId(300);
  w.clones.setMaxId(10);
  EXPECT_EQ(w.clones.clones->_size, 301);
  for (VakInt i = 0; i <= 300; ++i) {
    EXPECT_EQ(*reinterpret_cast<void**>(w.clones.clones->element(i)), nullptr);
  }
}

TEST(CloneManager, GrowsPastALocalEnvironment) {
  World w;
  VakRecordedPath path(w.env.impl());
  w.clones.setMaxId(1000);
  EXPECT_TRUE(path.local.calls.empty());
  EXPECT_EQ(w.env->_localEnv, &path.local);
}

TEST(CloneManager, ReleasesItsLockWhenCopyingThrows) {
  World w;
  auto* bad = w.node("bad");
  auto* top = w.node("T", {w.node("good"), bad});
  w.script.onClone = [&](VakTestNode& self) {
    if (&self == bad) throw std::runtime_error("copy");
  };
  EXPECT_THROW(w.env->getClone(top), std::runtime_error);
  EXPECT_EQ(w.env->isCloningLocked(), 0);
  EXPECT_EQ(w.clones.ids.getSize(), 0);
  w.script.onClone = {};
  EXPECT_NE(w.env->getClone(top), nullptr);
}

TEST(CloneManager, KeepsAnOuterLockWhenCopyingThrows) {
  World w;
  auto* good = w.node("good");
  auto* bad = w.node("bad");
  w.env->lockCloning();
  auto* copy = w.env->getClone(good);
  w.script.onClone = [](VakTestNode&) { throw std::runtime_error("copy"); };
  EXPECT_THROW(w.env->getClone(bad), std::runtime_error);
  EXPECT_EQ(w.env->isCloningLocked(), 1);
  EXPECT_EQ(w.env->getClone(good), copy);
  w.env->unlockCloning();
}

// ---- substitution -------------------------------------------------------------------------------

TEST(Substitute, OfNullIsNull) {
  World w;
  EXPECT_EQ(w.env->substitute(nullptr), nullptr);
  EXPECT_EQ(w.env->_expander, nullptr);
}

TEST(Substitute, PutsReplacementsInThePlaceOfCopies) {
  World w;
  auto* x = w.node("X");
  auto* y = w.node("Y");
  auto* z = w.node("Z");
  auto* top = w.node("T", {x, z, x});
  w.env->getExpander()->setSubstitute(x, y);
  auto* copy = asNode(w.env->substitute(top));
  EXPECT_EQ(copy->_refs[0], y);
  EXPECT_NE(copy->_refs[1], z);
  EXPECT_EQ(copy->_refs[2], y);
  EXPECT_EQ(w.script.takeLog(), "copy T, copy Z");
}

TEST(Substitute, LeavesNoExpanderPushedThatItPushedItself) {
  World w;
  w.env->substitute(w.node("A"));
  EXPECT_EQ(w.clones.expander, nullptr);
}

TEST(Substitute, LeavesAnOuterExpanderInPlace) {
  World w;
  EXPECT_EQ(w.clones.pushExpander(), 1);
  EXPECT_EQ(w.clones.pushExpander(), 0);
  w.env->substitute(w.node("A"));
  EXPECT_EQ(w.clones.expander, w.env->getExpander());
  w.clones.clear();
  EXPECT_EQ(w.clones.expander, nullptr);
}

TEST(Substitute, DoesNotSubstituteInAPlainCopy) {
  World w;
  auto* x = w.node("X");
  w.env->getExpander()->setSubstitute(x, w.node("Y"));
  EXPECT_EQ(VakNameOf(w.env->getClone(x)), "X");
}

TEST(Substitute, RestoresTheExpanderWhenCopyingThrows) {
  World w;
  auto* a = w.node("A");
  w.script.onClone = [](VakTestNode&) { throw std::runtime_error("copy"); };
  EXPECT_THROW(w.env->substitute(a), std::runtime_error);
  EXPECT_EQ(w.clones.expander, nullptr);
  EXPECT_EQ(w.clones.pushExpander(), 1);
  EXPECT_THROW(w.env->substitute(a), std::runtime_error);
  EXPECT_EQ(w.clones.expander, w.env->getExpander());
  EXPECT_EQ(w.env->isCloningLocked(), 0);
}

TEST(Substitute, SurvivesAnExpanderThatIsEndedMeanwhile) {
  World w;
  auto* a = w.node("A");
  w.env->lockCloning();
  w.clones.pushExpander();
  w.env->getExpander()->end();
  EXPECT_EQ(w.clones.expander, nullptr);
  EXPECT_EQ(w.env->_expander, nullptr);
  EXPECT_NE(w.env->substitute(a), nullptr);
  w.env->unlockCloning();
}

}  // namespace
