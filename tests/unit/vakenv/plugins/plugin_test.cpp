#include "vakenv/plugins/plugin.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/scoped_env.h"
#include "vakenv/core/create.h"
#include "vakenv/plugins.h"

namespace {

class Notified : public VakNotifiedPlugIn {
 public:
  using VakNotifiedPlugIn::VakNotifiedPlugIn;
  void notifyChange(const VakChange&, const VakExtractableI*) override {}
};

class Addon : public VakPlugInAddon {
 public:
  using VakPlugInAddon::VakPlugInAddon;
  void plugInAdded(VakPlugIn*) override {}
  void plugInRemoved(VakPlugIn*) override {}
};

TEST(PlugIn, HoldsItsEnvironmentAndIsNotLinked) {
  VakScopedEnv env;
  auto* p = VakCreate<VakPlugIn>(env.impl());
  EXPECT_EQ(p->_env, env.impl());
  EXPECT_EQ(p->next, nullptr);
  delete p;
}

TEST(PlugIn, GivesItsMemoryBackWhenDeleted) {
  VakScopedEnv env;
  const VakInt before = env->getMemoryUsage();
  auto* p = VakCreate<VakPlugIn>(env.impl());
  auto* a = VakCreate<Addon>(env.impl());
  EXPECT_GT(env->getMemoryUsage(), before);
  delete p;
  delete a;
  EXPECT_EQ(env->getMemoryUsage(), before);
}

TEST(PlugIn, IsNotAnEnvironmentObjectInTheTypeSystem) {
  VakScopedEnv env;
  auto* p = VakCreate<VakPlugIn>(env.impl());
  EXPECT_EQ(p->isType(VakRttiEnvObjectI::GetTypeInfo()), 0);
  EXPECT_EQ(p->isType(VakPlugIn::GetTypeInfo()), 1);
  EXPECT_EQ(p->isType(VakRtti::GetTypeInfo()), 1);
  EXPECT_STREQ(p->getRttiTypeName(), "VakPlugIn");
  delete p;
}

TEST(PlugIn, IsTheParentOfNotifiedPlugIns) {
  EXPECT_EQ(VakGetBaseTypeInfo(VakNotifiedPlugIn::GetTypeInfo()), VakPlugIn::GetTypeInfo());
  EXPECT_EQ(VakGetBaseTypeInfo(VakPlugIn::GetTypeInfo()), VakRtti::GetTypeInfo());
  EXPECT_STREQ(VakNotifiedPlugIn::GetRttiTypeName(), "VakNotifiedPlugIn");
}

TEST(PlugInAddon, IsNotAnEnvironmentObjectInTheTypeSystem) {
  EXPECT_EQ(VakGetBaseTypeInfo(VakPlugInAddon::GetTypeInfo()), VakRtti::GetTypeInfo());
  EXPECT_STREQ(VakPlugInAddon::GetRttiTypeName(), "VakPlugInAddon");
}

TEST(PlugIn, SizesAreThoseOfOneLinkMoreThanTheBase) {
  EXPECT_EQ(sizeof(VakPlugIn), sizeof(VakRttiEnvObjectI) + sizeof(void*));
  EXPECT_EQ(sizeof(VakNotifiedPlugIn), sizeof(VakPlugIn));
  EXPECT_EQ(sizeof(VakPlugInAddon), sizeof(VakRttiEnvObjectI) + sizeof(void*));
  EXPECT_EQ(sizeof(VakPlugInManager), 3 * sizeof(void*));
  EXPECT_EQ(sizeof(VakPlugInManager::VakCell), 4 * sizeof(void*));
}

}  // namespace
