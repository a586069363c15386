// Registration of extractables and algorithms.

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "tests/support/environment_mode.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test_algorithm.h"
#include "tests/support/test_deleter.h"
#include "vakenv/memory/id_manager.h"

namespace {

struct World {
  VakTestScript script;
  VakScopedEnv env;
  VakIdManager& ids = *env->_idManager;

  VakTestNode* node(const char* name) { return VakMakeNode(env.impl(), script, name); }
};

TEST(Registration, BooksAnIdentifierWhoseSlotHoldsTheExtractable) {
  World w;
  auto* a = w.node("A");
  auto* b = w.node("B");
  EXPECT_EQ(a->id, 0);
  EXPECT_EQ(b->id, 1);
  EXPECT_EQ(w.ids._data[0], a);
  EXPECT_EQ(w.ids._data[1], b);
}

TEST(Registration, EndsWithTheObjectAndSetsTheIdentifierToMinusOne) {
  World w;
  auto* a = w.node("A");
  w.env->finit(a);
  EXPECT_EQ(a->id, -1);
  EXPECT_FALSE(w.ids.isLive(0));
  delete a;
  EXPECT_EQ(w.script.takeLog(), "~A");
  EXPECT_EQ(w.node("B")->id, 0);
}

TEST(Registration, OfADeletedExtractableEndsInItsDestructor) {
  World w;
  auto* a = w.node("A");
  delete a;
  EXPECT_FALSE(w.ids.isLive(0));
  EXPECT_EQ(w.node("B")->id, 0);
}

TEST(Registration, IsNotEndedTwice) {
  World w;
  auto* a = w.node("A");
  auto* b = w.node("B");
  w.env->finit(a);
  w.env->finit(a);
  auto* c = w.node("C");
  EXPECT_EQ(c->id, 0);
  delete a;
  EXPECT_EQ(w.ids._data[0], c);
  EXPECT_EQ(w.ids._data[1], b);
}

TEST(Registration, CanBeginAnewAfterItEnded) {
  World w;
  auto* a = w.node("A");
  w.env->finit(a);
  w.env->init(a);
  EXPECT_EQ(a->id, 0);
  EXPECT_EQ(w.ids._data[0], a);
}

TEST(Registration, JoinsTheTypedListsWhenTheyAreOn) {
  World w;
  w.node("early");
  w.env->_typedLists.switchOn(w.env.impl());
  auto* a = w.node("A");
  w.node("B");
  EXPECT_EQ(w.env->_typedLists.count(VakTestNode::GetTypeInfo()), 2);
  EXPECT_EQ(w.env->_typedLists.count(VakExtractableI::GetTypeInfo()), 2);
  EXPECT_EQ(w.env->_typedLists.count(VakNumExprI::GetTypeInfo()), 0);
  delete a;
  EXPECT_EQ(w.env->_typedLists.count(VakTestNode::GetTypeInfo()), 1);
}

TEST(Registration, TellsTheDeleterAfterTheIdentifierIsBookedAndFreed) {
  World w;
  auto* deleter = VakCreate<VakTestDeleter>(w.env.impl(), w.script);
  w.env->setDeleter(deleter, 0);
  auto* a = w.node("A");
  EXPECT_EQ(w.script.takeLog(), "added 0 live");
  w.env->finit(a);
  EXPECT_EQ(w.script.takeLog(), "removed 0 free");
  EXPECT_EQ(a->id, -1);
  delete a;
}

TEST(Registration, IsUndoneWhenTheDeleterThrows) {
  World w;
  w.env->_typedLists.switchOn(w.env.impl());
  auto* deleter = VakCreate<VakTestDeleter>(w.env.impl(), w.script);
  w.env->setDeleter(deleter, 0);
  delete w.node("so that the typed lists have their memory");
  const VakInt before = w.env->getMemoryUsage();
  deleter->_throwsOnAdded = true;
  EXPECT_THROW(w.node("A"), std::runtime_error);
  EXPECT_EQ(w.env->getMemoryUsage(), before);
  EXPECT_EQ(w.env->_typedLists.count(VakExtractableI::GetTypeInfo()), 0);
  deleter->_throwsOnAdded = false;
  EXPECT_EQ(w.node("B")->id, 0);
}

TEST(Registration, EndsWithIdentifierMinusOneAlsoWhenTheDeleterThrows) {
  World w;
  auto* deleter = VakCreate<VakTestDeleter>(w.env.impl(), w.script);
  w.env->setDeleter(deleter, 0);
  auto* a = w.node("A");
  deleter->_throwsOnRemoved = true;
  EXPECT_THROW(w.env->finit(a), std::runtime_error);
  EXPECT_EQ(a->id, -1);
  deleter->_throwsOnRemoved = false;
  EXPECT_EQ(w.node("B")->id, 0);
  delete a;
}

TEST(Registration, OfAnObjectWhoseConstructorThrowsIsUndone) {
  class Failing : public VakTestNode {
   public:
    Failing(VakEnvI* env, VakTestScript& script) : VakTestNode(env, script, "F") {
      throw std::runtime_error("constructor");
    }
  };
  World w;
  const VakInt before = w.env->getMemoryUsage();
  EXPECT_THROW(static_cast<void>(VakCreate<Failing>(w.env.impl(), w.script)), std::runtime_error);
  EXPECT_EQ(w.env->getMemoryUsage(), before);
  EXPECT_EQ(w.node("B")->id, 0);
}

TEST(Registration, InThreadSafeModeBooksAnIdentifierWhoseSlotHoldsNull) {
  World w;
  w.env->_typedLists.switchOn(w.env.impl());
  w.env->useMTSafeAllocation(1);
  auto* a = w.node("A");
  EXPECT_EQ(a->id, 0);
  EXPECT_EQ(w.ids._data[0], nullptr);
  EXPECT_EQ(w.env->_typedLists.count(VakExtractableI::GetTypeInfo()), 0);
  delete a;
}

TEST(Registration, InThreadSafeModeKeepsTheIdentifierBookedAndCountsIt) {
  World w;
  auto* before = w.node("before");
  w.env->useMTSafeAllocation(1);
  auto* a = w.node("A");
  w.env->finit(a);
  EXPECT_EQ(a->id, -1);
  EXPECT_EQ(w.env->getUnreleasedIds(), 1);
  delete a;
  EXPECT_EQ(w.env->getUnreleasedIds(), 1);
  delete before;
  EXPECT_EQ(w.ids._data[0], nullptr);  // the slot no longer leads to the dead object
  EXPECT_EQ(w.env->getUnreleasedIds(), 2);
  w.env->useMTSafeAllocation(0);
  EXPECT_EQ(w.node("C")->id, 2);
}

TEST(Registration, MadeInThreadSafeModeCanEndOutsideIt) {
  World w;
  w.env->useMTSafeAllocation(1);
  auto* a = w.node("A");
  w.env->useMTSafeAllocation(0);
  delete a;
  EXPECT_EQ(w.env->getUnreleasedIds(), 0);
  EXPECT_EQ(w.node("B")->id, 0);
}

TEST(Registration, RemoveVerticalEnvFreesTheIdentifierAndDeletes) {
  World w;
  auto* a = w.node("A");
  w.env->removeVerticalEnv(nullptr);
  w.env->removeVerticalEnv(static_cast<VakExtractableI*>(a));
  EXPECT_EQ(w.script.takeLog(), "~A");
  EXPECT_EQ(w.node("B")->id, 0);
}

TEST(Registration, AttachesAlgorithmsNewestFirst) {
  World w;
  auto* one = new VakTestAlgorithm(w.env.impl(), w.script, "1");
  auto* two = new VakTestAlgorithm(w.env.impl(), w.script, "2");
  EXPECT_EQ(w.env->_algorithms, two);
  EXPECT_EQ(two->next, one);
  EXPECT_EQ(one->next, nullptr);
}

TEST(Registration, DetachesAnyAlgorithmOfTheList) {
  World w;
  auto* one = new VakTestAlgorithm(w.env.impl(), w.script, "1");
  auto* two = new VakTestAlgorithm(w.env.impl(), w.script, "2");
  auto* three = new VakTestAlgorithm(w.env.impl(), w.script, "3");
  w.env->removeAlgorithm(two);
  EXPECT_EQ(three->next, one);
  w.env->removeAlgorithm(three);
  EXPECT_EQ(w.env->_algorithms, one);
  w.env->removeAlgorithm(one);
  EXPECT_EQ(w.env->_algorithms, nullptr);
  for (auto* each : {one, two, three}) delete each;
}

TEST(Registration, EndsAttachedAlgorithmsWithTheEnvironment) {
  World w;
  new VakTestAlgorithm(w.env.impl(), w.script, "1");
  auto* two = new VakTestAlgorithm(w.env.impl(), w.script, "2");
  new VakTestAlgorithm(w.env.impl(), w.script, "3");
  two->end();
  EXPECT_EQ(w.script.takeLog(), "~2");
  w.env.env.end();
  EXPECT_EQ(w.script.takeLog(), "~3, ~1");
}

TEST(Registration, EndsEveryExtractableWithTheEnvironmentOnlyWithoutPooledMemory) {
  for (const bool pooled : {true, false}) {
    pooled ? VakUsePooledMemory() : VakUseUnpooledMemory();
    World w;
    w.node("A");
    w.node("B");
    w.env.env.end();
    EXPECT_EQ(w.script.takeLog(), pooled ? "" : "~A, ~B");
  }
}

}  // namespace
