#include "vakbase/allocation_stack.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <utility>
#include <vector>

#include "tests/support/failing_new.h"

namespace {

TEST(VakAllocationStack, AsksTheHeapForNothingWhenMade) {
  const long blocks = VakFailingNew::CountBlocks();
  VakAllocationStack stack;
  EXPECT_EQ(VakFailingNew::CountBlocks(), blocks);
  EXPECT_EQ(stack.getMemoryUsage(), 0);
  EXPECT_EQ(stack.getTotalMemoryUsage(), 0);
  EXPECT_EQ(stack.check(), "");
}

TEST(VakAllocationStack, ServesTheSameMemoryAgainInStackOrder) {
  VakAllocationStack stack;
  void* first = stack.allocate(24);
  void* second = stack.allocate(100);
  stack.free(second, 100);
  EXPECT_EQ(stack.allocate(8), second);
  stack.free(second, 8);
  stack.free(first, 24);
  EXPECT_EQ(stack.allocate(1000), first);
}

TEST(VakAllocationStack, AlignsBlocksOfEverySizeTo16) {
  VakAllocationStack stack;
  for (unsigned long size = 1; size <= 200; ++size) {
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(stack.allocate(size)) % 16, 0u) << size;
  }
}

TEST(VakAllocationStack, CountsBlocksRoundedUpTo16) {
  VakAllocationStack stack;
  void* first = stack.allocate(1);
  void* second = stack.allocate(17);
  EXPECT_EQ(stack.getMemoryUsage(), 48);
  stack.free(second, 17);
  EXPECT_EQ(stack.getMemoryUsage(), 16);
  stack.free(first, 1);
  EXPECT_EQ(stack.getMemoryUsage(), 0);
}

TEST(VakAllocationStack, GrowsByChunksAndShrinksAgain) {
  const long blocks = VakFailingNew::CountBlocks();
  VakAllocationStack stack;
  std::vector<std::pair<char*, unsigned long>> taken;
  taken.reserve(3000);
  for (unsigned long size = 1; size <= 3000; ++size) {
    auto* block = static_cast<char*>(stack.allocate(size));
    std::memset(block, static_cast<int>(size % 251), size);
    taken.emplace_back(block, size);
  }
  EXPECT_EQ(stack.check(), "");
  EXPECT_GE(stack.getTotalMemoryUsage(), stack.getMemoryUsage());
  EXPECT_LE(stack.getTotalMemoryUsage(), 2 * stack.getMemoryUsage());
  while (!taken.empty()) {
    const auto [block, size] = taken.back();
    const std::vector<char> expected(size, static_cast<char>(size % 251));
    ASSERT_EQ(std::memcmp(block, expected.data(), size), 0) << size;
    stack.free(block, size);
    ASSERT_EQ(stack.check(), "");
    taken.pop_back();
  }
  EXPECT_EQ(stack.getMemoryUsage(), 0);
  // The vector's heap block, the lowest chunk and the spare one above it.
  EXPECT_LE(VakFailingNew::CountBlocks(), blocks + 3);
}

TEST(VakAllocationStack, AsksTheHeapEverMoreSeldomForChunksOfUpTo1MiB) {
  VakAllocationStack stack;
  const VakFailingNew counting(0);
  for (int turn = 0; turn < 200'000; ++turn) {
    static_cast<void>(stack.allocate(96));
    ASSERT_LE(stack.getTotalMemoryUsage(), 102 * stack.getMemoryUsage() / 100 + (1L << 20));
  }
  // Eight doublings to a chunk of 1 MiB, and 19 MB in such chunks.
  EXPECT_LE(counting.count(), 8 + 20);
}

TEST(VakAllocationStack, DoesNotGoToTheHeapForWorkAtTheEdgeOfAChunk) {
  VakAllocationStack stack;
  static_cast<void>(stack.allocate(3000));
  stack.free(stack.allocate(3000), 3000);
  const VakFailingNew counting(0);
  for (int turn = 0; turn < 100; ++turn) stack.free(stack.allocate(3000), 3000);
  EXPECT_EQ(counting.count(), 0);
}

TEST(VakAllocationStack, ReplacesTheSpareChunkByALargerOneForALargerBlock) {
  VakAllocationStack stack;
  static_cast<void>(stack.allocate(3000));
  stack.free(stack.allocate(3000), 3000);
  void* large = stack.allocate(5'000'000);
  std::memset(large, 1, 5'000'000);
  EXPECT_EQ(stack.check(), "");
  EXPECT_LT(stack.getTotalMemoryUsage(), 5'000'000 + 2 * 4096);
  stack.free(large, 5'000'000);
  EXPECT_EQ(stack.check(), "");
}

TEST(VakAllocationStack, GivesNullForASizeOf0AndIgnoresIt) {
  VakAllocationStack stack;
  EXPECT_EQ(stack.allocate(0), nullptr);
  EXPECT_EQ(stack.getTotalMemoryUsage(), 0);
  void* block = stack.allocate(16);
  stack.free(block, 0);
  stack.free(nullptr, 16);
  EXPECT_EQ(stack.getMemoryUsage(), 16);
  EXPECT_EQ(stack.check(), "");
  EXPECT_NE(stack.allocate(16), block);
}

TEST(VakAllocationStack, RefusesSizesThatNoHeapHasAndChangesNothing) {
  VakAllocationStack stack;
  void* block = stack.allocate(16);
  const long total = stack.getTotalMemoryUsage();
  EXPECT_THROW(static_cast<void>(stack.allocate(std::numeric_limits<unsigned long>::max())),
               std::bad_alloc);
  EXPECT_THROW(static_cast<void>(stack.allocate(1UL << 60)), std::bad_alloc);
  EXPECT_EQ(stack.getMemoryUsage(), 16);
  EXPECT_EQ(stack.getTotalMemoryUsage(), total);
  EXPECT_EQ(stack.check(), "");
  stack.free(block, 16);
}

TEST(VakAllocationStack, OnlyCountsABlockThatIsNotTheNewest) {
  VakAllocationStack stack;
  void* first = stack.allocate(32);
  void* second = stack.allocate(32);
  stack.free(first, 32);
  EXPECT_EQ(stack.getMemoryUsage(), 32);
  void* third = stack.allocate(32);
  EXPECT_NE(third, first);
  EXPECT_EQ(stack.check(), "");
  stack.free(third, 32);
  stack.free(second, 32);
  EXPECT_EQ(stack.getMemoryUsage(), 0);
}

TEST(VakAllocationStack, IsEmptyAgainWhenAllBlocksWereGivenBackInAnyOrder) {
  VakAllocationStack stack;
  void* bottom = stack.allocate(100);
  std::vector<void*> blocks{bottom};
  for (int more = 0; more < 200; ++more) blocks.push_back(stack.allocate(100));
  for (void* block : blocks) {
    stack.free(block, 100);
    ASSERT_EQ(stack.check(), "");
  }
  EXPECT_EQ(stack.getMemoryUsage(), 0);
  EXPECT_EQ(stack.allocate(100), bottom);
}

TEST(VakAllocationStack, IgnoresMemoryThatItDidNotHandOut) {
  VakAllocationStack stack;
  auto* block = static_cast<char*>(stack.allocate(32));
  char foreign[32];
  stack.free(foreign, 32);
  stack.free(block + 32, 32);
  stack.free(block + 64, 32);
  stack.free(block, 64);
  stack.free(block, std::numeric_limits<unsigned long>::max());
  EXPECT_EQ(stack.getMemoryUsage(), 32);
  EXPECT_EQ(stack.check(), "");
}

TEST(VakAllocationStack, ReleasesWhatIsStillTakenWhenItEnds) {
  const long blocks = VakFailingNew::CountBlocks();
  {
    VakAllocationStack stack;
    for (int turn = 0; turn < 1000; ++turn) static_cast<void>(stack.allocate(1000));
    EXPECT_GT(VakFailingNew::CountBlocks(), blocks);
  }
  EXPECT_EQ(VakFailingNew::CountBlocks(), blocks);
}

/// The header of the chunk that a stack's first block lies in, as a program hits it that writes in
/// front of the block.
struct ChunkHeader {
  ChunkHeader* below;
  ChunkHeader* above;
  char* top;
  char* end;
  long blocks;
  long padding;

  static ChunkHeader* InFrontOf(void* firstBlock) {
    return static_cast<ChunkHeader*>(firstBlock) - 1;
  }
};

/// A stack of two chunks, the lower one full, that is whole again at the end.
struct VakAllocationStackCheck : testing::Test {
  ~VakAllocationStackCheck() override {
    *lower = intactLower;
    *upper = intactUpper;
    EXPECT_EQ(stack.check(), "");
  }

  VakAllocationStack stack;
  ChunkHeader* lower = ChunkHeader::InFrontOf(stack.allocate(3000));
  ChunkHeader* upper = ChunkHeader::InFrontOf(stack.allocate(3000));
  const ChunkHeader intactLower = *lower;
  const ChunkHeader intactUpper = *upper;
};

TEST_F(VakAllocationStackCheck, FindsACurrentChunkWithoutBlocks) {
  upper->blocks = 0;
  EXPECT_EQ(stack.check(), "the current chunk is empty");
}

TEST_F(VakAllocationStackCheck, FindsAChunkWithBlocksAboveTheCurrentOne) {
  upper->above = lower;
  EXPECT_EQ(stack.check(), "more than an empty chunk stands above the current one");
}

TEST_F(VakAllocationStackCheck, FindsBlocksBehindTheEndOfAChunk) {
  lower->top = lower->end + 16;
  EXPECT_EQ(stack.check(), "blocks reach beyond the end of a chunk");
}

TEST_F(VakAllocationStackCheck, FindsMoreBlocksGivenBackThanTaken) {
  lower->blocks = -1;
  EXPECT_EQ(stack.check(), "more blocks were given back than taken");
}

TEST_F(VakAllocationStackCheck, FindsBytesInAChunkWithoutBlocks) {
  lower->blocks = 0;
  EXPECT_EQ(stack.check(), "a chunk without blocks is not empty");
}

TEST_F(VakAllocationStackCheck, FindsAChunkThatIsLinkedOneWay) {
  lower->above = nullptr;
  EXPECT_EQ(stack.check(), "a chunk is linked one way");
}

TEST_F(VakAllocationStackCheck, FindsAChunkThatIsMissing) {
  upper->below = nullptr;
  EXPECT_EQ(stack.check(), "the chunks are not the bytes obtained");
}

TEST_F(VakAllocationStackCheck, FindsMoreBytesInUseThanTaken) {
  lower->top -= 3008;
  lower->blocks = 0;
  EXPECT_EQ(stack.check(), "more bytes are in use than were taken");
}

TEST(VakAllocationStackWithoutChunks, FindsBytesThatAreCounted) {
  VakAllocationStack stack;
  long* const words = reinterpret_cast<long*>(&stack);  // The current chunk and both counts.
  for (const int count : {1, 2}) {
    words[count] = 16;
    EXPECT_EQ(stack.check(), "bytes without a chunk");
    words[count] = 0;
  }
  EXPECT_EQ(stack.check(), "");
}

}  // namespace
