// The slabs of ended pools that wait for the next pool. Every test runs in a process of its own, so
// the cache is empty and has its usual limit when it begins.
#include "vakbase/slab_cache.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <thread>
#include <vector>

#include "tests/support/failing_new.h"
#include "vakbase/memory.h"
#include "vakbase/poison.h"

namespace {

constexpr auto Slab = static_cast<VakInt>(VakSlabCache::SlabBytes);

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
  growAndEnd(Slab / 2);
  EXPECT_EQ(VakGetSlabCacheUsage(), 0);
}

TEST_F(SlabCache, KeepsTheLargestSlabsOfAPoolThatEnds) {
  growAndEnd(3 * Slab);
  EXPECT_EQ(VakGetSlabCacheUsage(), 3 * Slab);  // The smaller slabs fall just short of a fourth.
}

TEST_F(SlabCache, ServesTheNextPoolWithoutTheHeap) {
  growAndEnd(3 * Slab);
  VakMemory memory(1);
  grow(memory, Slab - 4096);
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
  VakSetSlabCacheLimit(2 * Slab + Slab / 2);
  growAndEnd(5 * Slab);
  EXPECT_EQ(VakGetSlabCacheUsage(), 2 * Slab);
}

TEST_F(SlabCache, HoldsAtMost128MiBAtFirst) {
  growAndEnd(40 * Slab);
  EXPECT_EQ(VakGetSlabCacheUsage(), 128L * 1024 * 1024);
}

TEST_F(SlabCache, GivesBackWhatIsBeyondALowerLimit) {
  growAndEnd(5 * Slab);
  const long before = VakFailingNew::CountBlocks();
  VakSetSlabCacheLimit(Slab);
  EXPECT_EQ(VakGetSlabCacheUsage(), Slab);
  EXPECT_EQ(VakFailingNew::CountBlocks(), before - 4);
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
  EXPECT_EQ(VakFailingNew::CountBlocks(), before + 3);
  EXPECT_EQ(VakEmptySlabCache(), 3 * Slab);
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
  EXPECT_EQ(VakGetSlabCacheUsage() % Slab, 0);
  EXPECT_LE(VakGetSlabCacheUsage(), 6 * Slab);
}

TEST(SlabCacheAnywhere, KeepsNothingOfAPoolThatDoesNotPool) {
  const long before = VakFailingNew::CountBlocks();
  {
    VakMemory memory(0);
    for (int i = 0; i < 10; ++i) static_cast<void>(memory.allocate(VakSlabCache::SlabBytes));
  }
  EXPECT_EQ(VakGetSlabCacheUsage(), 0);
  EXPECT_EQ(VakFailingNew::CountBlocks(), before);
}

TEST(SlabCacheAnywhere, KeepsNothingUnderASanitizer) {
  if (!VakIsSanitized) GTEST_SKIP() << "no sanitizer watches";
  growAndEnd(3 * Slab);
  EXPECT_EQ(VakGetSlabCacheUsage(), 0);
}

TEST(SlabCacheAnywhere, AlignsSlabsToHugePages) {
  void* slab = VakSlabCache::Take();
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(slab) % VakSlabCache::Alignment, 0U);
  VakSlabCache::GiveBack(slab);
}

TEST(SlabCacheAnywhere, ServesAnElementLargerThanASlabFromARegionOfItsOwn) {
  VakMemory memory(1);
  const unsigned long size = 3 * VakSlabCache::SlabBytes;
  void* element = memory.allocate(size);
  EXPECT_EQ(memory.check(), "");
  EXPECT_GE(memory.getTotalMemoryUsage(), static_cast<long>(size));
  memory.deallocate(element, size);
  EXPECT_EQ(memory.allocate(size), element);
}
