#include "vakenv/memory/env_memory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <new>

#include "tests/support/recording_local_env.h"
#include "tests/support/scoped_env.h"

namespace {

using testing::ElementsAre;

TEST(EnvMemory, TakesAndGivesBackTheEnvironmentsMemory) {
  const VakScopedEnv env;
  const long usage = env->getMemoryUsage();
  void* p = VakAllocateIn(env.impl(), 100);
  EXPECT_EQ(env->getMemoryUsage(), usage + 104);
  VakFreeIn(env.impl(), p, 100);
  EXPECT_EQ(env->getMemoryUsage(), usage);
}

TEST(EnvMemory, IgnoresNullAndNoBytes) {
  const VakScopedEnv env;
  EXPECT_EQ(VakAllocateIn(env.impl(), 0), nullptr);
  void* p = VakAllocateIn(env.impl(), 8);
  const long usage = env->getMemoryUsage();
  VakFreeIn(env.impl(), p, 0);
  VakFreeIn(env.impl(), nullptr, 8);
  EXPECT_EQ(env->getMemoryUsage(), usage);
  VakFreeIn(env.impl(), p, 8);
}

TEST(EnvMemory, GoesThroughTheLocalEnvironment) {
  const VakScopedEnv env;
  const VakRecordedPath path(env.impl());
  VakFreeIn(env.impl(), VakAllocateIn(env.impl(), 8), 8);
  EXPECT_THAT(path.local.calls, ElementsAre("alloc 8", "free 8"));
}

TEST(EnvMemory, ThrowsBadAllocForAnImpossibleSize) {
  const VakScopedEnv env;
  EXPECT_THROW(static_cast<void>(VakAllocateIn(env.impl(), ULONG_MAX)), std::bad_alloc);
}

}  // namespace
