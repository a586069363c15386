// Every call of the global operator new fails once.
#include <gtest/gtest.h>

#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "tests/support/failing_new.h"
#include "tests/support/memory_modes.h"
#include "vakbase/allocation_list.h"
#include "vakbase/allocation_stack.h"
#include "vakbase/memory.h"

namespace {

class PoolFaults : public testing::TestWithParam<long> {};

VAK_IN_BOTH_MEMORY_MODES(PoolFaults);

/// Sizes of all kinds: small, a large one, one that a young slab does not hold, many of one class.
const std::vector<unsigned long>& sizes() {
  static const std::vector<unsigned long> all = [] {
    std::vector<unsigned long> sizes{8, 24, 24, 4000, 100, 40'000, 1, 2'000'000};
    sizes.insert(sizes.end(), 300, 104);
    return sizes;
  }();
  return all;
}

TEST(VakFailingNew, FailsTheCallItWasToldAndNoOther) {
  VakFailingNew failing(2);
  void* first = ::operator new(8);
  EXPECT_FALSE(failing.hasFailed());
  EXPECT_THROW(static_cast<void>(::operator new(8)), std::bad_alloc);
  EXPECT_TRUE(failing.hasFailed());
  void* third = ::operator new(8);
  EXPECT_EQ(failing.count(), 3);
  ::operator delete(first);
  ::operator delete(third);
}

TEST(VakFailingNew, FailsAnyForm) {
  EXPECT_EQ(VakFailEachNew(
                [] {
                  ::operator delete(::operator new(8));
                  ::operator delete[](::operator new[](8));
                  ::operator delete(::operator new(64, std::align_val_t(64)), std::align_val_t(64));
                },
                [](const std::exception_ptr& thrown) {
                  EXPECT_TRUE(VakIsException<std::bad_alloc>(thrown));
                }),
            3);
  VakFailingNew failing(1);
  EXPECT_EQ(::operator new(8, std::nothrow), nullptr);
}

TEST_P(PoolFaults, LeaveAPoolWhereItWas) {
  sizes();
  for (unsigned long failAt = 1, served = 0; served < sizes().size(); ++failAt) {
    VakMemory memory(GetParam());
    long usage = 0;
    long total = 0;
    bool thrown = false;
    served = 0;
    {
      const VakFailingNew failing(static_cast<long>(failAt));
      try {
        for (unsigned long size : sizes()) {
          static_cast<void>(memory.allocate(size));
          usage = memory.getMemoryUsage();
          total = memory.getTotalMemoryUsage();
          ++served;
        }
      } catch (const std::bad_alloc&) {
        thrown = true;
      }
    }
    EXPECT_EQ(thrown, served < sizes().size());
    ASSERT_EQ(memory.getMemoryUsage(), usage);
    ASSERT_EQ(memory.getTotalMemoryUsage(), total);
    ASSERT_EQ(memory.check(), "");
    // The pool goes on as if nothing had happened.
    for (; served < sizes().size() && thrown; ++served) {
      static_cast<void>(memory.allocate(sizes()[served]));
    }
    EXPECT_EQ(memory.check(), "");
    if (thrown) served = 0;
  }
}

TEST_P(PoolFaults, LoseNoHeapBlock) {
  static_cast<void>(sizes());  // made on first use: its block is none of the pool's
  const long blocks = VakFailingNew::CountBlocks();
  const long failures = VakFailEachNew(
      [] {
        VakMemory memory(GetParam());
        VakFixedSizeAllocatorI terms(24);
        terms._pooled = GetParam();
        for (unsigned long size : sizes()) {
          static_cast<void>(memory.allocate(size));
          static_cast<void>(terms.allocate(&memory));
        }
      },
      [&](const std::exception_ptr& thrown) {
        EXPECT_TRUE(VakIsException<std::bad_alloc>(thrown));
        EXPECT_EQ(VakFailingNew::CountBlocks(), blocks);
      });
  EXPECT_GT(failures, 4);
  EXPECT_EQ(VakFailingNew::CountBlocks(), blocks);
}

TEST(AllocationListFaults, LeaveTheListWhereItWas) {
  VakAllocationList list;
  static_cast<void>(list.alloc(24));
  {
    VakFailingNew failing(1);
    EXPECT_THROW(static_cast<void>(list.alloc(24)), std::bad_alloc);
  }
  EXPECT_EQ(list.countElements(), 1);
  EXPECT_EQ(list.check(), "");
}

TEST(AllocationStackFaults, LeaveTheStackWhereItWas) {
  std::optional<VakAllocationStack> stack;
  long usage = 0;
  const long failures = VakFailEachNew(
      [&] {
        stack.emplace();
        for (unsigned long size = 100; size <= 100'000; size *= 2) {
          usage = stack->getMemoryUsage();
          static_cast<void>(stack->allocate(size));
        }
      },
      [&](const std::exception_ptr& thrown) {
        EXPECT_TRUE(VakIsException<std::bad_alloc>(thrown));
        EXPECT_EQ(stack->getMemoryUsage(), usage);
        EXPECT_EQ(stack->check(), "");
        static_cast<void>(stack->allocate(100'000));
        EXPECT_EQ(stack->check(), "");
      });
  EXPECT_GT(failures, 3);
}

}  // namespace
