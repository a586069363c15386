// The slabs of ended pools that wait for the next pool. Every test runs in a process of its own, so
// the cache is empty and has its usual limit when it begins.
#include "vakbase/slab_cache.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <thread>
#include <vector>

#include "tests/support/failing_new.h"
#include "vakbase/memory.h"
#include "vakbase/poison.h"

namespace {

/// Bytes of the largest slabs, and of all smaller slabs that may wait: 64 KiB, 128 KiB, ... 2 MiB.
constexpr VakInt Slab = VakInt{4} * 1024 * 1024;
constexpr VakInt SmallerSlabs = Slab - static_cast<VakInt>(VakSlabCache::SmallestBytes);

/// Takes objects of 64 bytes until the pool has obtained at least `bytes` bytes.
void grow(VakMemory& memory, long bytes) {
  while (memory.getTotalMemoryUsage() < bytes) static_cast<void>(memory.allocate(64));
}

/// Makes a pool grow to at least `bytes` bytes and end.
void growAndEnd(long bytes) {
  VakMemory memory(1);
  grow(memory, bytes);
}

}  // namespace

class SlabCache : public testing::Test {
 protected:
  void SetUp() override {
    if (VakIsSanitized) GTEST_SKIP() << "nothing waits under a sanitizer";
  }
};

TEST_F(SlabCache, IsEmptyUntilAPoolEnds) {
  VakMemory memory(1);
  grow(memory, 4 * Slab);
  EXPECT_EQ(VakGetSlabCacheUsage(), 0);
}

TEST_F(SlabCache, KeepsNothingOfASmallPool) {
  growAndEnd(60 * 1024);
  EXPECT_EQ(VakGetSlabCacheUsage(), 0);
}

TEST_F(SlabCache, KeepsTheSlabsOfAPoolThatEndsFrom64KiBOn) {
  growAndEnd(64 * 1024);
  EXPECT_EQ(VakGetSlabCacheUsage(), 64 * 1024);
  growAndEnd(3 * Slab);
  EXPECT_EQ(VakGetSlabCacheUsage(), SmallerSlabs + 3 * Slab);
}

TEST_F(SlabCache, KeepsLargeElements) {
  const unsigned long size = 10'000'000;
  {
    VakMemory memory(1);
    static_cast<void>(memory.allocate(size));
  }
  EXPECT_GE(VakGetSlabCacheUsage(), static_cast<VakInt>(size));
  VakMemory memory(1);
  const VakFailingNew heap(0);
  static_cast<void>(memory.allocate(size));
  EXPECT_EQ(heap.count(), 0);
  EXPECT_EQ(VakGetSlabCacheUsage(), 0);
}

TEST_F(SlabCache, ServesNoRegionOfAnotherSize) {
  void* region = VakSlabCache::Take(100'000);
  VakSlabCache::GiveBack(region, 100'000);
  void* larger = VakSlabCache::Take(100'008);  // Of the same size class.
  EXPECT_EQ(VakGetSlabCacheUsage(), 100'000);
  VakSlabCache::GiveBack(larger, 100'008);
  EXPECT_EQ(VakGetSlabCacheUsage(), 200'008);
}

TEST_F(SlabCache, ServesTheNextPoolWithoutTheHeap) {
  growAndEnd(3 * Slab);
  VakMemory memory(1);
  grow(memory, 60 * 1024);
  const VakFailingNew heap(0);
  grow(memory, 3 * Slab);
  EXPECT_EQ(heap.count(), 0);
  EXPECT_EQ(VakGetSlabCacheUsage(), 0);
  EXPECT_EQ(memory.check(), "");
}

TEST_F(SlabCache, LetsAPoolCountWaitingSlabsAsItCountsFreshOnes) {
  std::vector<long> totals[2];
  for (auto& seen : totals) {
    VakMemory memory(1);
    for (int i = 0; i < 200'000; ++i) {
      static_cast<void>(memory.allocate(64));
      seen.push_back(memory.getTotalMemoryUsage());
    }
  }
  EXPECT_EQ(totals[0], totals[1]);
}

TEST_F(SlabCache, NeverHoldsMoreThanItsLimit) {
  const VakInt limit = 2 * Slab + Slab / 2;
  VakSetSlabCacheLimit(limit);
  growAndEnd(5 * Slab);
  EXPECT_LE(VakGetSlabCacheUsage(), limit);
  EXPECT_GT(VakGetSlabCacheUsage(), limit - static_cast<VakInt>(VakSlabCache::SmallestBytes));
}

TEST_F(SlabCache, HoldsAtMost128MiBAtFirst) {
  growAndEnd(40 * Slab);
  EXPECT_LE(VakGetSlabCacheUsage(), 128L * 1024 * 1024);
  EXPECT_GE(VakGetSlabCacheUsage(), 124L * 1024 * 1024);
}

TEST_F(SlabCache, IsEmptiedByALimitThatItExceeds) {
  growAndEnd(2 * Slab);
  VakSetSlabCacheLimit(SmallerSlabs + 2 * Slab);
  EXPECT_EQ(VakGetSlabCacheUsage(), SmallerSlabs + 2 * Slab);
  const long before = VakFailingNew::CountBlocks();
  VakSetSlabCacheLimit(SmallerSlabs + 2 * Slab - 1);
  EXPECT_EQ(VakGetSlabCacheUsage(), 0);
  EXPECT_EQ(VakFailingNew::CountBlocks(), before - 8);
}

TEST_F(SlabCache, KeepsNothingWithALimitOf0OrLess) {
  for (const VakInt limit : {VakInt{0}, VakInt{-1}}) {
    VakSetSlabCacheLimit(limit);
    const long before = VakFailingNew::CountBlocks();
    growAndEnd(3 * Slab);
    EXPECT_EQ(VakGetSlabCacheUsage(), 0) << limit;
    EXPECT_EQ(VakFailingNew::CountBlocks(), before) << limit;
  }
}

TEST_F(SlabCache, GivesEverythingBackWhenItIsEmptied) {
  const long before = VakFailingNew::CountBlocks();
  growAndEnd(3 * Slab);
  EXPECT_EQ(VakFailingNew::CountBlocks(), before + 6 + 3);
  EXPECT_EQ(VakEmptySlabCache(), SmallerSlabs + 3 * Slab);
  EXPECT_EQ(VakFailingNew::CountBlocks(), before);
  EXPECT_EQ(VakGetSlabCacheUsage(), 0);
  EXPECT_EQ(VakEmptySlabCache(), 0);
}

TEST_F(SlabCache, ServesPoolsOfSeveralThreadsAtOnce) {
  const auto work = [] {
    for (int turn = 0; turn < 20; ++turn) {
      VakMemory memory(1);
      grow(memory, 3 * Slab);
      EXPECT_EQ(memory.check(), "");
    }
  };
  std::thread first(work);
  std::thread second(work);
  first.join();
  second.join();
  EXPECT_GE(VakGetSlabCacheUsage(), SmallerSlabs + 3 * Slab);
  EXPECT_LE(VakGetSlabCacheUsage(), 2 * (SmallerSlabs + 3 * Slab));
}

TEST(SlabCacheAnywhere, KeepsNothingOfAPoolThatDoesNotPool) {
  const long before = VakFailingNew::CountBlocks();
  {
    VakMemory memory(0);
    for (int i = 0; i < 10; ++i) static_cast<void>(memory.allocate(VakSlabCache::HugeBytes));
  }
  EXPECT_EQ(VakGetSlabCacheUsage(), 0);
  EXPECT_EQ(VakFailingNew::CountBlocks(), before);
}

TEST(SlabCacheAnywhere, KeepsNothingUnderASanitizer) {
  if (!VakIsSanitized) GTEST_SKIP() << "no sanitizer watches";
  growAndEnd(3 * Slab);
  EXPECT_EQ(VakGetSlabCacheUsage(), 0);
}

TEST(SlabCacheAnywhere, AlignsTheLargestSlabsToHugePages) {
  void* slab = VakSlabCache::Take(Slab);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(slab) % VakSlabCache::HugeAlignment, 0U);
  VakSlabCache::GiveBack(slab, Slab);
}

TEST(SlabCacheAnywhere, ThrowsForMoreThanThereIsAndChangesNothing) {
  for (const unsigned long bytes : {1UL << 47, (1UL << 47) + 1, 1UL << 62}) {
    EXPECT_THROW(static_cast<void>(VakSlabCache::Take(bytes)), std::bad_alloc) << bytes;
  }
  EXPECT_EQ(VakGetSlabCacheUsage(), 0);
}

TEST(SlabCacheAnywhere, ServesAnElementLargerThanASlabFromARegionOfItsOwn) {
  VakMemory memory(1);
  const unsigned long size = 3 * VakSlabCache::HugeBytes;
  void* element = memory.allocate(size);
  EXPECT_EQ(memory.check(), "");
  EXPECT_GE(memory.getTotalMemoryUsage(), static_cast<long>(size));
  memory.deallocate(element, size);
  EXPECT_EQ(memory.allocate(size), element);
}
