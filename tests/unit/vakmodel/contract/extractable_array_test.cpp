#include "vakmodel/contract/extractable_array.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/scoped_env.h"
#include "tests/support/test_algorithm.h"

namespace {

struct World {
  VakTestScript script;
  VakScopedEnv env;
  VakTestNode* a = VakMakeNode(env.impl(), script, "A");
  VakTestNode* b = VakMakeNode(env.impl(), script, "B");
  VakExtractableArray array{env->_allocator};
};

std::string names(VakExtractableArray array) {
  std::string all;
  for (const VakExtractableI* e : array) all += VakNameOf(e);
  return all;
}

TEST(ExtractableArray, IsAnEmptyHandleByDefault) {
  VakExtractableArray none;
  EXPECT_EQ(none.getImpl(), nullptr);
  EXPECT_EQ(none.getSize(), 0);
  EXPECT_TRUE(none.isEmpty());
  EXPECT_EQ(names(none), "");
  none.end();
}

TEST(ExtractableArray, StartsWithNullElements) {
  World w;
  VakExtractableArray array(w.env->_allocator, 3);
  EXPECT_EQ(names(array), "---");
}

TEST(ExtractableArray, AppendsOneAndDropsTheLast) {
  World w;
  w.array.add(w.a);
  w.array.add(nullptr);
  w.array.add(w.b);
  EXPECT_EQ(names(w.array), "A-B");
  w.array.dropLast();
  EXPECT_EQ(names(w.array), "A-");
  w.array[1] = w.b;
  EXPECT_EQ(names(w.array), "AB");
}

TEST(ExtractableArray, AppendsAnArrayItselfAndAnEmptyHandle) {
  World w;
  w.array.add(w.a);
  w.array.add(w.b);
  w.array.add(w.array);
  w.array.add(VakExtractableArray());
  EXPECT_EQ(names(w.array), "ABAB");
}

TEST(ExtractableArray, KeepsItsStorageWhenAllElementsGo) {
  World w;
  for (int i = 0; i < 100; ++i) w.array.add(w.a);
  const VakInt before = w.env->getMemoryUsage();
  w.array.removeAll();
  EXPECT_TRUE(w.array.isEmpty());
  EXPECT_EQ(w.env->getMemoryUsage(), before);
}

TEST(ExtractableArray, IsSharedByCopiesAndEqualToThem) {
  World w;
  const VakExtractableArray copy = w.array;
  w.array.add(w.a);
  EXPECT_EQ(copy.getSize(), 1);
  EXPECT_TRUE(copy == w.array);
  EXPECT_FALSE(copy == VakExtractableArray());
}

TEST(ExtractableArray, GivesItsMemoryBackAndKnowsItsEnvironment) {
  World w;
  const VakInt before = w.env->getMemoryUsage();
  VakExtractableArray array(w.env->_allocator);
  for (int i = 0; i < 1000; ++i) array.add(w.a);
  EXPECT_EQ(array.getEnv(), w.env.env);
  array.end();
  EXPECT_EQ(array.getImpl(), nullptr);
  EXPECT_EQ(w.env->getMemoryUsage(), before);
}

}  // namespace
