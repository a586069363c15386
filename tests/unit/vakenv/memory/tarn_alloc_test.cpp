// The environment's own allocator. Every test has to pass in both memory modes.

#include "vakenv/memory/tarn_alloc.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <new>
#include <random>
#include <vector>

#include "tests/support/environment_mode.h"
#include "tests/support/recording_local_env.h"
#include "tests/support/scoped_env.h"

namespace {

using testing::ElementsAre;

struct Block {
  unsigned char* start;
  unsigned long size;
  unsigned char mark;
};

// Large blocks are marked at both ends only, so that a test over all sizes stays quick.
constexpr unsigned long MarkedWhole = 4096;
constexpr unsigned long MarkedEnd = 64;

void writeMarks(const Block& block) {
  if (block.size <= MarkedWhole) {
    std::memset(block.start, block.mark, block.size);
    return;
  }
  std::memset(block.start, block.mark, MarkedEnd);
  std::memset(block.start + block.size - MarkedEnd, block.mark, MarkedEnd);
}

bool isMarked(const unsigned char* start, unsigned long size, unsigned char mark) {
  return std::all_of(start, start + size, [mark](unsigned char byte) { return byte == mark; });
}

bool marksStand(const Block& block) {
  if (block.size <= MarkedWhole) return isMarked(block.start, block.size, block.mark);
  return isMarked(block.start, MarkedEnd, block.mark) &&
         isMarked(block.start + block.size - MarkedEnd, MarkedEnd, block.mark);
}

bool overlap(std::vector<Block> blocks) {
  std::sort(blocks.begin(), blocks.end(),
            [](const Block& a, const Block& b) { return a.start < b.start; });
  for (std::size_t i = 1; i < blocks.size(); ++i) {
    if (blocks[i - 1].start + blocks[i - 1].size > blocks[i].start) return true;
  }
  return false;
}

Block take(const VakGenAlloc* allocator, unsigned long size) {
  const Block block{static_cast<unsigned char*>(allocator->alloc(size)), size,
                    static_cast<unsigned char>(size * 31 + 7)};
  writeMarks(block);
  return block;
}

long elementSize(unsigned long size) {
  return VakMemory::getElementSize(VakMemory::getIndex(static_cast<long>(size)));
}

bool isAligned(const Block& block) {
  const std::uintptr_t alignment = elementSize(block.size) % 16 == 0 ? 16 : 8;
  return reinterpret_cast<std::uintptr_t>(block.start) % alignment == 0;
}

TEST(TarnAlloc, BelongsToItsEnvironment) {
  const VakScopedEnv env;
  EXPECT_EQ(env.allocator()->env, env.impl());
}

TEST(TarnAlloc, ReturnsNullForNoBytesWithoutTouchingThePool) {
  const VakScopedEnv env;
  const long usage = env->getMemoryUsage();
  const long total = env->getTotalMemoryUsage();
  EXPECT_EQ(env.allocator()->alloc(0), nullptr);
  EXPECT_EQ(env->getMemoryUsage(), usage);
  EXPECT_EQ(env->getTotalMemoryUsage(), total);
}

TEST(TarnAlloc, IgnoresNullAndNoBytesWhenFreeing) {
  const VakScopedEnv env;
  void* p = env.allocator()->alloc(40);
  const long usage = env->getMemoryUsage();
  env.allocator()->free(nullptr, 40);
  env.allocator()->free(p, 0);
  env.allocator()->free(nullptr, 0);
  EXPECT_EQ(env->getMemoryUsage(), usage);
  env.allocator()->free(p, 40);
  EXPECT_EQ(env->getMemoryUsage(), usage - 40);
}

TEST(TarnAlloc, RaisesUsageByTheElementSizeAndLowersItAgain) {
  const VakScopedEnv env;
  for (const unsigned long size : {1UL, 8UL, 9UL, 24UL, 128UL, 129UL, 1000UL, 5000UL, 1000000UL}) {
    const long usage = env->getMemoryUsage();
    void* p = env.allocator()->alloc(size);
    EXPECT_EQ(env->getMemoryUsage(), usage + elementSize(size)) << size;
    EXPECT_GE(env->getTotalMemoryUsage(), env->getMemoryUsage()) << size;
    env.allocator()->free(p, size);
    EXPECT_EQ(env->getMemoryUsage(), usage) << size;
    EXPECT_GE(env->getTotalMemoryUsage(), usage) << size;
  }
}

TEST(TarnAlloc, ServesTwentyFourBytesWithExactlyTwentyFour) {
  const VakScopedEnv env;
  const long usage = env->getMemoryUsage();
  void* p = env.allocator()->alloc(24);
  EXPECT_EQ(env->getMemoryUsage(), usage + 24);
  env.allocator()->free(p, 24);
}

// A hundred neighbouring sizes live at a time.
TEST(TarnAlloc, ServesEverySizeWithoutOverlapAndWithBalancedUsage) {
  const VakScopedEnv env;
  const long usage = env->getMemoryUsage();
  for (unsigned long from = 1; from <= 70000; from += 100) {
    std::vector<Block> blocks;
    for (unsigned long size = from; size < from + 100; ++size) {
      blocks.push_back(take(env.allocator(), size));
      ASSERT_TRUE(isAligned(blocks.back())) << size;
    }
    ASSERT_FALSE(overlap(blocks)) << from;
    for (const Block& block : blocks) {
      ASSERT_TRUE(marksStand(block)) << block.size;
      env.allocator()->free(block.start, block.size);
    }
    ASSERT_EQ(env->getMemoryUsage(), usage) << from;
  }
}

TEST(TarnAlloc, ServesLargeSizesAroundPowersOfTwo) {
  const VakScopedEnv env;
  const long usage = env->getMemoryUsage();
  std::vector<Block> blocks;
  for (const unsigned long power : {1UL << 20, 1UL << 27}) {
    for (const unsigned long size : {power - 1, power, power + 1}) {
      blocks.push_back(take(env.allocator(), size));
      EXPECT_TRUE(isAligned(blocks.back())) << size;
    }
  }
  EXPECT_FALSE(overlap(blocks));
  for (const Block& block : blocks) {
    EXPECT_TRUE(marksStand(block)) << block.size;
    env.allocator()->free(block.start, block.size);
  }
  EXPECT_EQ(env->getMemoryUsage(), usage);
}

TEST(TarnAlloc, KeepsBlocksApartWhenTheyComeAndGoInAnyOrder) {
  const VakScopedEnv env;
  const long usage = env->getMemoryUsage();
  std::mt19937 random(4711);
  std::vector<Block> blocks;
  for (int round = 0; round < 20000; ++round) {
    if (blocks.size() < 300 && random() % 2 == 0) {
      blocks.push_back(take(env.allocator(), 1 + random() % (1UL << random() % 14)));
    } else if (!blocks.empty()) {
      std::swap(blocks[random() % blocks.size()], blocks.back());
      ASSERT_TRUE(marksStand(blocks.back())) << round;
      env.allocator()->free(blocks.back().start, blocks.back().size);
      blocks.pop_back();
    }
  }
  EXPECT_FALSE(overlap(blocks));
  for (const Block& block : blocks) {
    EXPECT_TRUE(marksStand(block));
    env.allocator()->free(block.start, block.size);
  }
  EXPECT_EQ(env->getMemoryUsage(), usage);
}

TEST(TarnAlloc, ThrowsBadAllocForImpossibleSizesAndChangesNothing) {
  const VakScopedEnv env;
  const long usage = env->getMemoryUsage();
  const long total = env->getTotalMemoryUsage();
  for (const unsigned long size : {(1UL << 47) + 1, 1UL << 60, 1UL << 63, ULONG_MAX}) {
    EXPECT_THROW(static_cast<void>(env.allocator()->alloc(size)), std::bad_alloc) << size;
    EXPECT_EQ(env->getMemoryUsage(), usage) << size;
    EXPECT_EQ(env->getTotalMemoryUsage(), total) << size;
  }
  void* p = env.allocator()->alloc(16);
  EXPECT_NE(p, nullptr);
  env.allocator()->free(p, 16);
}

TEST(TarnAlloc, HandsOutTheBlockThatWasFreedLastWhenMemoryIsPooled) {
  VakUsePooledMemory();
  const VakScopedEnv env;
  void* a = env.allocator()->alloc(24);
  void* b = env.allocator()->alloc(24);
  env.allocator()->free(a, 24);
  env.allocator()->free(b, 24);
  EXPECT_EQ(env.allocator()->alloc(24), b);
  EXPECT_EQ(env.allocator()->alloc(17), a);
}

TEST(TarnAlloc, CountsBytesOfTheListAndInUseAlikeWhenMemoryIsNotPooled) {
  VakUseUnpooledMemory();
  const VakScopedEnv env;
  VakFixedSizeAllocatorI* sizeClass = env->_memory._allocators[VakMemory::getIndex(700)];
  const long inUse = sizeClass->_bytesInUse;
  const long obtained = sizeClass->_bytesObtained;
  void* p = env.allocator()->alloc(700);
  EXPECT_EQ(sizeClass->_pooled, 0);
  EXPECT_EQ(sizeClass->_free, nullptr);
  EXPECT_EQ(sizeClass->_bytesInUse, inUse + sizeClass->_elementSize);
  EXPECT_EQ(sizeClass->_bytesObtained, obtained + sizeClass->_elementSize);
  env.allocator()->free(p, 700);
  EXPECT_EQ(sizeClass->_bytesInUse, inUse);
  EXPECT_EQ(sizeClass->_bytesObtained, obtained);
}

TEST(TarnAlloc, SavesNoValues) {
  const VakScopedEnv env;
  void* pointer = &pointer;
  long integer = 1;
  double number = 2.0;
  const VakRecordedPath path(env.impl());
  env.allocator()->saveValue(&pointer);
  env.allocator()->saveValue(&integer);
  env.allocator()->saveValue(&number);
  EXPECT_EQ(pointer, &pointer);
  EXPECT_EQ(integer, 1);
  EXPECT_EQ(number, 2.0);
  EXPECT_TRUE(path.local.saved.empty());
}

TEST(TarnAlloc, InternsTextsOnceWithTheEnvironment) {
  const VakScopedEnv env;
  const char text[] = "supply";
  const char* stored = env.allocator()->intern(text);
  EXPECT_STREQ(stored, "supply");
  EXPECT_NE(stored, text);
  EXPECT_EQ(env.allocator()->intern("supply"), stored);
  EXPECT_EQ(env->intern("supply"), stored);
  EXPECT_EQ(env.allocator()->intern(nullptr), nullptr);
}

TEST(TarnAlloc, GoesThroughTheLocalEnvironmentWhileOneIsInstalled) {
  const VakScopedEnv env;
  {
    const VakRecordedPath path(env.impl());
    void* p = env.allocator()->alloc(24);
    EXPECT_EQ(env.allocator()->alloc(0), nullptr);
    env.allocator()->free(p, 24);
    EXPECT_THAT(path.local.calls, ElementsAre("alloc 24", "alloc 0", "free 24"));
  }
  env.allocator()->free(env.allocator()->alloc(24), 24);
}

TEST(TarnAlloc, FiltersNullAndNoBytesBeforeTheLocalEnvironment) {
  const VakScopedEnv env;
  void* p = env.allocator()->alloc(24);
  const VakRecordedPath path(env.impl());
  env.allocator()->free(nullptr, 24);
  env.allocator()->free(p, 0);
  EXPECT_TRUE(path.local.calls.empty());
  env.allocator()->free(p, 24);
}

}  // namespace
