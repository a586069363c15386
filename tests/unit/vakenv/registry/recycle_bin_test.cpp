#include "vakenv/registry/recycle_bin.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/scoped_env.h"
#include "tests/support/test_algorithm.h"
#include "vakenv/memory/id_manager.h"

namespace {

// A bin that a test drives itself, beside the environment's own removals.
struct World {
  ~World() { bin.end(); }

  VakTestScript script;
  VakScopedEnv env;
  VakRecycleBinI bin{env.impl()};

  VakTestNode* node(const char* name, std::initializer_list<VakExtractableI*> refs = {}) {
    return VakMakeNode(env.impl(), script, name, refs);
  }
  static bool hidden(const VakExtractableI* e) { return VakExtractableI::IsHidden(e); }
};

std::string names(VakExtractableArray array) {
  std::string all;
  for (const VakExtractableI* e : array) all += VakNameOf(e);
  return all;
}

TEST(RecycleBin, HasFourFieldsAndNothingElse) {
  EXPECT_EQ(sizeof(VakRecycleBinI), 3 * sizeof(void*) + sizeof(VakRecycleBinI::destroyed));
}

TEST(RecycleBin, StartsEmptyInNormalMode) {
  World w;
  EXPECT_EQ(w.bin.pending.getSize(), 0);
  EXPECT_EQ(w.bin.deferred.getSize(), 0);
  EXPECT_EQ(w.bin.releaseMode, 0);
  EXPECT_EQ(w.bin.destroyed._nbItems, 0);
  EXPECT_EQ(w.bin.destroyed._size, 1);
  EXPECT_EQ(w.bin.pending.getEnv(), w.env.env);
}

TEST(RecycleBin, HidesAndListsWhatIsAdded) {
  World w;
  auto* a = w.node("A");
  w.bin.add(a);
  EXPECT_TRUE(w.hidden(a));
  EXPECT_EQ(names(w.bin.pending), "A");
}

TEST(RecycleBin, ListsTheSameExtractableOnceInNormalMode) {
  World w;
  auto* a = w.node("A");
  w.bin.add(a);
  w.bin.add(a);
  EXPECT_EQ(names(w.bin.pending), "A");
}

TEST(RecycleBin, IgnoresAnUnregisteredExtractable) {
  World w;
  auto* a = w.node("A");
  auto* b = w.node("B");
  w.env->finit(a);
  w.bin.add(a);
  w.bin.add(nullptr);
  EXPECT_EQ(w.bin.pending.getSize(), 0);
  EXPECT_FALSE(w.hidden(b));
  delete a;
}

TEST(RecycleBin, IgnoresAnIdentifierOutsideTheTable) {
  World w;
  auto* a = w.node("A");
  a->id = 1L << 40;
  w.bin.add(a);
  EXPECT_EQ(w.bin.pending.getSize(), 0);
  a->id = 0;
}

TEST(RecycleBin, ListsTheSameExtractableTwiceInReleaseModeAndLeavesItVisible) {
  World w;
  auto* a = w.node("A");
  w.bin.startReleaseMode();
  w.bin.add(a);
  w.bin.add(a);
  EXPECT_EQ(w.bin.releaseMode, 1);
  EXPECT_EQ(names(w.bin.deferred), "AA");
  EXPECT_EQ(w.bin.pending.getSize(), 0);
  EXPECT_FALSE(w.hidden(a));
}

TEST(RecycleBin, DoesNotDeferWhatIsHidden) {
  World w;
  auto* a = w.node("A");
  w.bin.add(a);
  w.bin.startReleaseMode();
  w.bin.add(a);
  EXPECT_EQ(w.bin.deferred.getSize(), 0);
}

TEST(RecycleBin, MakesWhatWasDeferredPendingInOrder) {
  World w;
  auto* x = w.node("X");
  auto* a = w.node("A");
  auto* b = w.node("B");
  w.bin.add(x);
  w.bin.startReleaseMode();
  w.bin.add(b);
  w.bin.add(a);
  w.bin.endReleaseMode();
  EXPECT_EQ(w.bin.releaseMode, 0);
  EXPECT_EQ(names(w.bin.pending), "BA");
  EXPECT_EQ(w.bin.deferred.getSize(), 0);
  EXPECT_TRUE(w.hidden(a));
  EXPECT_TRUE(w.hidden(b));
}

TEST(RecycleBin, SweepsAndReports) {
  World w;
  auto* x = w.node("X");
  auto* c = w.node("C", {x});
  new VakTestAlgorithm(w.env.impl(), w.script, "alg");
  w.script.logsSweeps = true;
  w.bin.add(x);
  w.bin.removeFromAll();
  EXPECT_EQ(w.script.takeLog(), "sweep C, alg: removed [X]");
  EXPECT_FALSE(c->refersTo(x));
  EXPECT_TRUE(w.hidden(x));
}

TEST(RecycleBin, EndsTwiceWithoutHarmAndGivesItsMemoryBack) {
  VakTestScript script;
  VakScopedEnv env;
  const VakInt before = env->getMemoryUsage();
  {
    VakRecycleBinI bin(env.impl());
    auto* a = VakMakeNode(env.impl(), script, "A");
    bin.add(a);
    bin.destroyed.add(a, a);
    bin.end();
    EXPECT_EQ(bin.pending.getImpl(), nullptr);
    EXPECT_EQ(bin.deferred.getImpl(), nullptr);
    EXPECT_EQ(bin.destroyed._buckets, nullptr);
    bin.end();
    delete a;
  }
  EXPECT_EQ(env->getMemoryUsage(), before);
}

TEST(RecycleBin, HashesTheAddressShiftedByFiveBits) {
  const auto at = [](unsigned long address) { return reinterpret_cast<VakExtractableI*>(address); };
  EXPECT_EQ(VakRecycleBinI::HashExtractable(at(0x12345), 16), (0x12345 >> 5) & 15);
  EXPECT_EQ(VakRecycleBinI::HashExtractable(at(0xFFFFFFFFFFFFFFE0UL), 1L << 59), (1L << 59) - 1);
  EXPECT_EQ(VakRecycleBinI::CompareExtractables(at(16), at(16)), 1);
  EXPECT_EQ(VakRecycleBinI::CompareExtractables(at(16), at(32)), 0);
}

TEST(RecycleBin, LivesInTheMemoryOfTheEnvironmentWhileARemovalRuns) {
  VakTestScript script;
  VakScopedEnv env;
  auto* x = VakMakeNode(env.impl(), script, "X");
  VakMakeNode(env.impl(), script, "A");
  const VakInt before = env->getMemoryUsage();
  VakInt during = 0;
  script.onSweep = [&](VakTestNode&) { during = env->getMemoryUsage(); };
  env->removeFromAll(x);
  EXPECT_GE(during - before, static_cast<VakInt>(sizeof(VakRecycleBinI)));
  EXPECT_EQ(env->getMemoryUsage(), before);
  EXPECT_EQ(env->_recycleBin, nullptr);
}

TEST(RecycleBin, ForgetsADestroyedExpressionWhenANewOneIsRegisteredAtItsAddress) {
  VakTestScript script;
  VakScopedEnv env;
  auto* a = VakMakeNode(env.impl(), script, "A");
  auto* trigger = VakMakeNode(env.impl(), script, "T");
  VakInt items = -1;
  script.onDestruct = [&](VakTestNode&) {
    script.onDestruct = {};
    env->finit(a);
    env->_recycleBin->destroyed.add(a, a);
    env->init(a);
    items = env->_recycleBin->destroyed._nbItems;
  };
  env->removeFromAllAndDestroy(trigger, 0);
  EXPECT_EQ(items, 0);
}

}  // namespace
