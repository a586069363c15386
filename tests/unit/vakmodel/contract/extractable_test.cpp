#include "vakmodel/contract/extractable.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/scoped_env.h"
#include "tests/support/test_algorithm.h"

namespace {

TEST(Extractable, TakesPartInTheTypeSystemAsAnExtensibleEnvironmentObject) {
  VakTestScript script;
  VakScopedEnv env;
  const auto* a = VakMakeNode(env.impl(), script, "A");
  EXPECT_EQ(a->isType(VakExtractableI::GetTypeInfo()), 1);
  EXPECT_EQ(a->isType(VakExtensibleRttiEnvObjectI::GetTypeInfo()), 1);
  EXPECT_EQ(a->isType(VakRttiEnvObjectI::GetTypeInfo()), 1);
  EXPECT_EQ(a->isType(VakNumExprI::GetTypeInfo()), 0);
  EXPECT_STREQ(a->getRttiTypeName(), "VakTestNode");
  EXPECT_STREQ(VakExtractableI::GetRttiTypeName(), "VakExtractableI");
  EXPECT_EQ(a->getExtractableSize(), static_cast<VakInt>(sizeof(VakTestNode)));
}

TEST(Extractable, CarriesAName) {
  VakTestScript script;
  VakScopedEnv env;
  auto* a = VakMakeNode(env.impl(), script, "A");
  const VakInt before = env->getMemoryUsage();
  a->setName("demand");
  EXPECT_GT(env->getMemoryUsage(), before);
  a->setName(nullptr);
  delete a;
}

TEST(Extractable, GivesItsMemoryBack) {
  VakTestScript script;
  VakScopedEnv env;
  const VakInt before = env->getMemoryUsage();
  delete VakMakeNode(env.impl(), script, "A");
  EXPECT_EQ(env->getMemoryUsage(), before);
}

TEST(Extractable, ReportsItsNotificationsToTheEnvironment) {
  VakTestScript script;
  VakScopedEnv env;
  auto* var = VakCreate<VakTestVar>(env.impl());
  new VakTestAlgorithm(env.impl(), script, "alg");
  var->notify(VakTestChange());
  EXPECT_EQ(script.takeLog(), "alg: change / ?");
}

TEST(Extractable, CanUnregisterAheadOfItsBaseAndIsNotUnregisteredTwice) {
  VakTestScript script;
  VakScopedEnv env;
  auto* a = VakMakeNode(env.impl(), script, "A");
  auto* b = VakMakeNode(env.impl(), script, "B");
  a->unregister();
  EXPECT_EQ(a->id, -1);
  a->unregister();
  delete a;
  EXPECT_EQ(VakMakeNode(env.impl(), script, "C")->id, 0);
  EXPECT_EQ(b->id, 1);
}

TEST(Extractable, KnowsWhetherARemovalHidesIt) {
  VakTestScript script;
  VakScopedEnv env;
  auto* a = VakMakeNode(env.impl(), script, "A");
  VakMakeNode(env.impl(), script, "B");
  bool hidden = false;
  script.onSweep = [&](VakTestNode&) { hidden = VakExtractableI::IsHidden(a); };
  EXPECT_FALSE(VakExtractableI::IsHidden(a));
  EXPECT_FALSE(VakExtractableI::IsHidden(nullptr));
  env->removeFromAll(a);
  EXPECT_TRUE(hidden);
  EXPECT_FALSE(VakExtractableI::IsHidden(a));
  a->unregister();
  EXPECT_FALSE(VakExtractableI::IsHidden(a));
  delete a;
}

TEST(Extractable, WithoutReferencesHasNothingToDropInARemoval) {
  VakScopedEnv env;
  auto* a = VakCreate<VakTestVar>(env.impl());
  auto* b = VakCreate<VakTestVar>(env.impl());
  env->removeFromAllAndDestroy(a, 0);
  EXPECT_EQ(b->id, 1);
}

}  // namespace
