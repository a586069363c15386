#include "vakenv/memory/env_life.h"

#include <gtest/gtest.h>

#include <new>

#include "tests/support/failing_new.h"
#include "tests/support/scoped_env.h"

namespace {

TEST(EnvLife, IsNeverOverWithoutAnEnvironment) {
  const VakEnvLife life(nullptr);
  EXPECT_FALSE(life.isOver());
  EXPECT_EQ(life.getEnv(), nullptr);
  EXPECT_EQ(life, VakEnvLife());
}

TEST(EnvLife, LastsUntilTheEnvironmentEnds) {
  VakScopedEnv scope;
  const VakEnvLife life(scope.impl());
  EXPECT_FALSE(life.isOver());
  EXPECT_EQ(life.getEnv(), scope.impl());
  scope.env.end();
  EXPECT_TRUE(life.isOver());
  EXPECT_EQ(life.getEnv(), nullptr);
}

TEST(EnvLife, IsOneForAllWhoAsk) {
  VakScopedEnv scope;
  VakScopedEnv other;
  EXPECT_EQ(VakEnvLife(scope.impl()), VakEnvLife(scope.impl()));
  EXPECT_NE(VakEnvLife(scope.impl()), VakEnvLife(other.impl()));
}

TEST(EnvLife, StaysOverWhenAnotherEnvironmentStandsAtTheSameAddress) {
  alignas(VakEnvI) unsigned char place[sizeof(VakEnvI)];
  auto* first = ::new (place) VakEnvI();
  const VakEnvLife life(first);
  first->~VakEnvI();
  auto* second = ::new (place) VakEnvI();
  const VakEnvLife otherLife(second);  // takes over the cell
  EXPECT_TRUE(life.isOver());
  EXPECT_EQ(life.getEnv(), nullptr);
  EXPECT_EQ(otherLife.getEnv(), second);
  EXPECT_NE(life, otherLife);
  second->~VakEnvI();
  EXPECT_TRUE(life.isOver());
  EXPECT_TRUE(otherLife.isOver());
}

TEST(EnvLife, IsOverOnceTheAllocatorIsGone) {
  auto* env = new VakEnvI();
  const VakEnvLife life(env);
  env->end();
  EXPECT_TRUE(life.isOver());
  delete env;
}

TEST(EnvLife, CostsAnEnvironmentThatIsNotAskedNothing) {
  VakScopedEnv first;
  (void)VakEnvLife(first.impl());
  const long before = VakFailingNew::CountBlocks();
  { VakScopedEnv second; }
  EXPECT_EQ(VakFailingNew::CountBlocks(), before);
}

TEST(EnvLife, UsesTheCellsOfEndedEnvironmentsAgain) {
  for (int round = 0; round < 3; ++round) {
    VakScopedEnv a;
    VakScopedEnv b;
    (void)VakEnvLife(a.impl());
    (void)VakEnvLife(b.impl());
  }
  const long before = VakFailingNew::CountBlocks();
  for (int round = 0; round < 3; ++round) {
    VakScopedEnv a;
    VakScopedEnv b;
    (void)VakEnvLife(a.impl());
    (void)VakEnvLife(b.impl());
  }
  EXPECT_EQ(VakFailingNew::CountBlocks(), before);
}

TEST(EnvLife, ReportsThatMemoryRanOut) {
  // As many lives as use up the cells of environments that have ended.
  VakScopedEnv others[8];
  for (const VakScopedEnv& other : others) (void)VakEnvLife(other.impl());
  VakScopedEnv scope;
  VakEnvLife life;
  const long failures = VakFailEachNew([&] { life = VakEnvLife(scope.impl()); },
                                       [&](const std::exception_ptr& thrown) {
                                         EXPECT_TRUE(VakIsException<std::bad_alloc>(thrown));
                                         EXPECT_EQ(life, VakEnvLife());
                                       });
  EXPECT_EQ(failures, 1);
  EXPECT_EQ(life.getEnv(), scope.impl());
}

}  // namespace
