#include "vakenv/registry/deleter.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/support/scoped_env.h"
#include "tests/support/test_deleter.h"

namespace {

TEST(Deleter, IsANotifiedPlugInInTheTypeSystem) {
  VakTestScript script;
  VakScopedEnv env;
  auto* deleter = VakCreate<VakTestDeleter>(env.impl(), script);
  EXPECT_EQ(deleter->getTypeInfo(), VakNotifiedPlugIn::GetTypeInfo());
  EXPECT_STREQ(deleter->getRttiTypeName(), "VakNotifiedPlugIn");
  delete deleter;
}

TEST(Deleter, IsInstalledWithItsLevelAndUnset) {
  VakTestScript script;
  VakScopedEnv env;
  auto* deleter = VakCreate<VakTestDeleter>(env.impl(), script);
  env->setDeleter(deleter, 4);
  EXPECT_EQ(env->_deleter, deleter);
  EXPECT_EQ(env->_deleterLevel, 4);
  env->unsetDeleter();
  EXPECT_EQ(env->_deleter, nullptr);
  EXPECT_EQ(env->_deleterLevel, 0);
  EXPECT_EQ(script.takeLog(), "~deleter");
  env->unsetDeleter();
  EXPECT_EQ(script.takeLog(), "");
}

TEST(Deleter, ReplacesAndDeletesAnEarlierOne) {
  VakTestScript script;
  VakScopedEnv env;
  auto* first = VakCreate<VakTestDeleter>(env.impl(), script);
  env->setDeleter(first, 1);
  env->setDeleter(first, 2);
  EXPECT_EQ(script.takeLog(), "");
  EXPECT_EQ(env->_deleterLevel, 2);
  env->setDeleter(VakCreate<VakTestDeleter>(env.impl(), script), 3);
  EXPECT_EQ(script.takeLog(), "~deleter");
  env->setDeleter(nullptr, 0);
  EXPECT_EQ(script.takeLog(), "~deleter");
}

TEST(Deleter, GetsWhatTheEnvironmentForwards) {
  VakTestScript script;
  VakScopedEnv env;
  auto* deleter = VakCreate<VakTestDeleter>(env.impl(), script);
  auto* a = VakMakeNode(env.impl(), script, "A");
  VakExtractableArray array(env->_allocator);
  array.add(a);
  env->setDeleter(deleter, 0);
  env->inhibitDeleter(1);
  env->setDeleterVerbosityLevel(5);
  env->removeAndDelete(a, 2);
  env->removeAndDelete(array, 3);
  EXPECT_EQ(script.takeLog(), "inhibit 1, delete 0 2, delete array of 1 3");
  EXPECT_EQ(deleter->getVerbosityLevel(), 5);
}

TEST(Deleter, IsNotNeededForVerbosityAndRemoveAndDelete) {
  VakTestScript script;
  VakScopedEnv env;
  auto* a = VakMakeNode(env.impl(), script, "A");
  env->setDeleterVerbosityLevel(5);
  env->removeAndDelete(a, 1);
  env->removeAndDelete(VakExtractableArray(), 1);
  EXPECT_EQ(script.takeLog(), "");
  EXPECT_EQ(a->id, 0);
}

TEST(Deleter, IsGoneAlsoWhenItsDestructorThrows) {
  VakTestScript script;
  VakScopedEnv env;
  auto* deleter = VakCreate<VakTestDeleter>(env.impl(), script);
  deleter->_throwsOnDelete = true;
  env->setDeleter(deleter, 4);
  EXPECT_THROW(env->unsetDeleter(), std::runtime_error);
  EXPECT_EQ(env->_deleter, nullptr);
  EXPECT_EQ(env->_deleterLevel, 0);
}

TEST(Deleter, IsDeletedByTheEndOfTheEnvironmentBeforeTheExtractables) {
  VakTestScript script;
  {
    VakScopedEnv env;
    VakMakeNode(env.impl(), script, "A");
    env->setDeleter(VakCreate<VakTestDeleter>(env.impl(), script), 0);
  }
  EXPECT_EQ(script.log.front(), "~deleter");
}

}  // namespace
