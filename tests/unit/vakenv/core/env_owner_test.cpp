#include "vakenv/core/env_owner.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

#include "vakenv/arrays/num_array.h"
#include "vakenv/core/create.h"
#include "vakenv/memory/env_life.h"
#include "vakenv/registry/destroyable.h"

namespace {

VakEnv emptyEnv() { return VakEnv(static_cast<VakEnvI*>(nullptr)); }

/// Throws when it is destroyed, as user objects may.
class Thrower : public VakDestroyableI {
 public:
  explicit Thrower(VakEnvI* env) : VakDestroyableI(env) {}
  ~Thrower() noexcept(false) override { throw std::runtime_error("thrown by a user object"); }
};

VakEnvLife lifeOf(const VakEnvOwner& owner) { return VakEnvLife(owner.getImpl()); }

TEST(EnvOwner, EndsTheEnvironmentWithTheScope) {
  VakEnvLife life;
  {
    const VakEnvOwner env;
    life = lifeOf(env);
    EXPECT_FALSE(life.isOver());
  }
  EXPECT_TRUE(life.isOver());
}

TEST(EnvOwner, EndsTheEnvironmentWhenAnExceptionLeavesTheScope) {
  VakEnvLife life;
  try {
    const VakEnvOwner env;
    life = lifeOf(env);
    throw 1;
  } catch (int) {
  }
  EXPECT_TRUE(life.isOver());
}

TEST(EnvOwner, StandsWhereverAHandleIsTaken) {
  const VakEnvOwner env;
  VakNumArray array(env, 3);
  EXPECT_EQ(array.getEnv(), env);
  EXPECT_EQ(VakMemoryManager(env), env.get().getMemoryManager());
  env.setName("plant");
  EXPECT_STREQ(env.getName(), "plant");
}

TEST(EnvOwner, TakesAnEnvironmentOver) {
  VakEnv handle;
  const VakEnvLife life(handle.getImpl());
  { const VakEnvOwner env(handle); }
  EXPECT_TRUE(life.isOver());
}

TEST(EnvOwner, CanBeEndedBeforeItsScope) {
  VakEnvOwner env;
  const VakEnvLife life = lifeOf(env);
  env.end();
  EXPECT_TRUE(life.isOver());
  EXPECT_FALSE(env);
}

TEST(EnvOwner, GivesTheEnvironmentUp) {
  VakEnv handle = emptyEnv();
  {
    VakEnvOwner env;
    handle = env.release();
    EXPECT_FALSE(env);
    EXPECT_EQ(env.release(), emptyEnv());
  }
  EXPECT_GT(handle.getTotalMemoryUsage(), 0);
  handle.end();
}

TEST(EnvOwner, MovesButDoesNotCopy) {
  static_assert(!std::is_copy_constructible_v<VakEnvOwner>);
  static_assert(!std::is_copy_assignable_v<VakEnvOwner>);
  static_assert(std::is_move_constructible_v<VakEnvOwner>);
  VakEnvOwner a;
  const VakEnvLife lifeOfA = lifeOf(a);
  VakEnvOwner b(std::move(a));
  EXPECT_FALSE(a);
  EXPECT_EQ(b.getImpl(), lifeOfA.getEnv());
  VakEnvOwner c;
  const VakEnvLife lifeOfC = lifeOf(c);
  c = std::move(b);
  EXPECT_TRUE(lifeOfC.isOver());
  EXPECT_FALSE(lifeOfA.isOver());
  EXPECT_FALSE(b);
  VakEnvOwner& same = c;
  c = std::move(same);
  EXPECT_FALSE(lifeOfA.isOver());
  c.reset(c.get());
  EXPECT_FALSE(lifeOfA.isOver());
  c.reset();
  EXPECT_TRUE(lifeOfA.isOver());
}

TEST(EnvOwner, IsFoundInContainers) {
  std::vector<VakEnvOwner> owners(3);
  std::vector<VakEnvLife> lives;
  for (const VakEnvOwner& owner : owners) lives.push_back(lifeOf(owner));
  owners.resize(1);
  EXPECT_FALSE(lives[0].isOver());
  EXPECT_TRUE(lives[1].isOver());
  EXPECT_TRUE(lives[2].isOver());
}

TEST(EnvOwner, PassesOnWhatTheEndThrowsAfterEverythingIsReleased) {
  VakEnvLife life;
  const auto leave = [&life] {
    const VakEnvOwner env;
    life = lifeOf(env);
    VakCreate<Thrower>(env);
  };
  EXPECT_THROW(leave(), std::runtime_error);
  EXPECT_TRUE(life.isOver());
}

TEST(EnvOwner, DropsWhatTheEndThrowsWhenAnExceptionLeavesTheScope) {
  VakEnvLife life;
  const auto leave = [&life] {
    const VakEnvOwner env;
    life = lifeOf(env);
    VakCreate<Thrower>(env);
    throw 1;
  };
  EXPECT_THROW(leave(), int);
  EXPECT_TRUE(life.isOver());
}

/// Uses an environment of its own in its destructor, which an exception may run.
struct Cleaner {
  ~Cleaner() {
    try {
      const VakEnvOwner env;
      VakCreate<Thrower>(env);
    } catch (const std::runtime_error&) {
      *hasCaught = true;
    }
  }
  bool* hasCaught;
};

TEST(EnvOwner, PassesOnWithinWhatAnExceptionRuns) {
  bool hasCaught = false;
  try {
    const Cleaner cleaner{&hasCaught};
    throw 1;
  } catch (int) {
  }
  EXPECT_TRUE(hasCaught);
}

TEST(EnvOwner, HasTheNewEnvironmentWhenTheEndOfTheOldOneThrows) {
  VakEnvOwner a;
  VakEnvOwner b;
  const VakEnvLife lifeOfA = lifeOf(a);
  const VakEnvLife lifeOfB = lifeOf(b);
  VakCreate<Thrower>(a);
  EXPECT_THROW(a = std::move(b), std::runtime_error);
  EXPECT_TRUE(lifeOfA.isOver());
  EXPECT_EQ(a.getImpl(), lifeOfB.getEnv());
  EXPECT_FALSE(b);
}

}  // namespace
