#include "vakenv/memory/memory_manager.h"

#include <gtest/gtest.h>

#include "tests/support/scoped_env.h"
#include "vakbase/allocation_stack.h"
#include "vaksupport/stack_gen_alloc.h"

namespace {

// Derived from the environment's allocator without types of its own.
class CountingTarnAlloc : public VakTarnAlloc {
 public:
  using VakTarnAlloc::VakTarnAlloc;
};

// Derived with types of its own.
class NamedTarnAlloc : public VakTarnAlloc {
  VAK_RTTI(NamedTarnAlloc, VakTarnAlloc);
  using VakTarnAlloc::VakTarnAlloc;
};

TEST(MemoryManager, IsEmptyByDefaultAndFromNull) {
  EXPECT_EQ(VakMemoryManager().getImpl(), nullptr);
  VakGenAlloc* none = nullptr;
  const VakMemoryManager manager = none;
  EXPECT_EQ(manager.getImpl(), nullptr);
}

TEST(MemoryManager, IsMadeFromAnAllocatorAndCopiedAsItsPointer) {
  const VakScopedEnv env;
  const VakMemoryManager manager = env.allocator();
  const VakMemoryManager copy = manager;
  EXPECT_EQ(manager.getImpl(), env.allocator());
  EXPECT_EQ(copy.getImpl(), env.allocator());
  EXPECT_EQ(sizeof(VakMemoryManager), sizeof(void*));
}

TEST(MemoryManager, EqualsAnotherThatHoldsTheSameAllocator) {
  const VakScopedEnv a;
  const VakScopedEnv b;
  EXPECT_TRUE(VakMemoryManager(a.allocator()) == a.env.getMemoryManager());
  EXPECT_FALSE(VakMemoryManager(a.allocator()) == VakMemoryManager(b.allocator()));
  EXPECT_TRUE(VakMemoryManager() == VakMemoryManager());
}

TEST(GetEnv, FindsTheEnvironmentOfItsOwnAllocator) {
  const VakScopedEnv a;
  const VakScopedEnv b;
  EXPECT_EQ(VakGetEnv(a.allocator()), a.impl());
  EXPECT_EQ(VakGetEnv(b.allocator()), b.impl());
}

TEST(GetEnv, FindsTheEnvironmentOfADerivedAllocator) {
  const VakScopedEnv env;
  CountingTarnAlloc counting(env.impl());
  NamedTarnAlloc named(env.impl());
  EXPECT_EQ(VakGetEnv(&counting), env.impl());
  EXPECT_EQ(VakGetEnv(&named), env.impl());
}

TEST(GetEnv, IsNullForAStackAllocator) {
  VakAllocationStack stack;
  VakStackGenAlloc allocator(&stack, nullptr);
  EXPECT_EQ(VakGetEnv(&allocator), nullptr);
}

TEST(GetEnv, IsNullForAnEmptyManager) { EXPECT_EQ(VakGetEnv(VakMemoryManager()), nullptr); }

}  // namespace
