// The geometry of arrays that grow.

#include <gtest/gtest.h>

#include "tests/unit/vakenv/arrays/array_test_tools.h"

namespace {

// Capacity after the size went from 0 to `size` one by one: the smallest power of four at least as
// large, since the first element finds room in a capacity of 1.
long expectedShift(long size) {
  long shift = 0;
  while ((1L << (2 * shift)) < size) ++shift;
  return shift;
}

TEST(ArrayGrowth, EachOfSeventyAddsHasExactlyTheChunksItNeeds) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeIntegers(manager, 0);
  const VakIntArray integers(array.get());
  for (long size = 1; size <= 70; ++size) {
    integers.add(size - 1);
    const long shift = expectedShift(size);
    const long length = 1L << shift;
    ASSERT_EQ(array->_size, size);
    ASSERT_EQ(array->_shift, shift) << size;
    ASSERT_EQ(array->_mod, length - 1) << size;
    ASSERT_EQ(array->_max, length * length) << size;
    ASSERT_EQ(VakCountChunks(*array), (size + length - 1) / length) << size;
    ASSERT_EQ(array->check(), "") << size;
    for (long i = 0; i < size; ++i) ASSERT_EQ(integers[i], i) << size;
  }
}

TEST(ArrayGrowth, AFullCapacityIsNotLeftUntilTheNextElementComes) {
  VakArrayMemory manager;
  for (const long size : {1L, 4L, 16L, 64L}) {
    const VakArrayOwner array = VakMakeIntegers(manager, size - 1);
    VakIntArray(array.get()).add(0);
    EXPECT_EQ(array->_max, size);
    VakIntArray(array.get()).add(0);
    EXPECT_EQ(array->_max, 4 * size);
  }
}

TEST(ArrayGrowth, TheFifthElementMovesTwoOldChunksIntoTheFirstNewOne) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeCounting(manager, 4);
  ASSERT_EQ(array->_max, 4);
  ASSERT_EQ(array->_mod + 1, 2);
  VakIntArray(array.get()).add(4);
  EXPECT_EQ(array->_max, 16);
  EXPECT_EQ(array->_mod + 1, 4);
  EXPECT_EQ(VakCountChunks(*array), 2);
  for (long i = 0; i < 4; ++i) EXPECT_EQ(array->element(i), array->_data[0] + 8 * i);
  EXPECT_EQ(VakIntegers(array), std::vector<long>({0, 1, 2, 3, 4}));
}

TEST(ArrayGrowth, GrowBelowTheSizeOrWithinTheChunksChangesNothing) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeCounting(manager, 5);
  const long requests = manager.getRequestCount();
  for (long n = -3; n <= 8; ++n) array->grow(n);
  EXPECT_EQ(manager.getRequestCount(), requests);
  EXPECT_EQ(array->_size, 5);
  EXPECT_EQ(VakCountChunks(*array), 2);
}

TEST(ArrayGrowth, GrowWithinTheCapacityMakesTheMissingChunksOnly) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeCounting(manager, 17);
  ASSERT_EQ(VakCountChunks(*array), 3);
  char* const table = reinterpret_cast<char*>(array->_data);
  array->grow(50);
  EXPECT_EQ(VakCountChunks(*array), 7);
  EXPECT_EQ(reinterpret_cast<char*>(array->_data), table);
  EXPECT_EQ(array->_size, 17);
  EXPECT_EQ(array->check(), "");
}

TEST(ArrayGrowth, GrowQuadruplesTheCapacityUntilItSuffices) {
  VakArrayMemory manager;
  for (long size = 0; size <= 20; ++size) {
    for (long n = 1; n <= 300; n += 7) {
      const VakArrayOwner array = VakMakeCounting(manager, size);
      const long before = array->_max;
      array->grow(n);
      long max = before;
      while (max < n) max *= 4;
      ASSERT_EQ(array->_max, max);
      const long length = array->_mod + 1;
      const long needed = std::max({size, n, 1L});
      ASSERT_EQ(VakCountChunks(*array), (needed + length - 1) / length) << size << ' ' << n;
      ASSERT_EQ(array->_size, size);
      ASSERT_EQ(array->check(), "");
      for (long i = 0; i < size; ++i) ASSERT_EQ(VakIntArray(array.get())[i], i);
    }
  }
}

TEST(ArrayGrowth, GrowCopesWithChunksBeyondTheLastInUse) {
  VakArrayMemory manager;
  for (long kept = 0; kept <= 16; ++kept) {
    for (const long n : {17L, 64L, 65L, 1000L}) {
      const VakArrayOwner array = VakMakeCounting(manager, 16);
      array->remove(kept, 16 - kept);
      array->grow(n);
      ASSERT_EQ(array->check(), "");
      ASSERT_EQ(array->_size, kept);
      for (long i = 0; i < kept; ++i) ASSERT_EQ(VakIntArray(array.get())[i], i);
    }
  }
}

TEST(ArrayGrowth, OldChunksAreFreedAsSoonAsTheyAreMoved) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeCounting(manager, 4096);
  const unsigned long before = manager.getBytes();
  manager.resetPeak();
  array->grow(4097);
  const unsigned long newTable = 128 * sizeof(char*);
  const unsigned long newChunk = 128 * 8;
  EXPECT_LE(manager.getPeakBytes(), before + newTable + newChunk);
}

TEST(ArrayGrowth, AppendingWithinAChunkAsksForNothing) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeCounting(manager, 1000);
  const long requests = manager.getRequestCount();
  for (long i = 1000; i < 1024; ++i) VakIntArray(array.get()).add(i);
  EXPECT_EQ(manager.getRequestCount(), requests);
  EXPECT_EQ(array->_max, 1024);
}

TEST(ArrayGrowth, IsAppendWithinChunkHoldsOnlyWhenLookingAheadFindsNothingToDo) {
  VakArrayMemory manager;
  for (long size = -5; size <= 70; ++size) {
    const VakArrayOwner array = VakMakeIntegers(manager, size);
    const long ahead = size + 1;
    const bool nothingToDo =
        size > 0 && array->_max > ahead && array->_data[ahead >> array->_shift] != nullptr;
    if (array->isAppendWithinChunk()) {
      EXPECT_TRUE(nothingToDo) << size;
    }
    const bool atEdge = size < 1 || (size & array->_mod) == 0 || (ahead & array->_mod) == 0;
    EXPECT_EQ(array->isAppendWithinChunk(), !atEdge) << size;
  }
}

TEST(ArrayGrowth, AnElementOfTheArrayItselfCanBeAppendedAtABoundary) {
  VakArrayMemory manager;
  for (const long size : {1L, 4L, 16L, 64L}) {
    const VakArrayOwner array = VakMakeCounting(manager, size);
    const VakIntArray integers(array.get());
    integers[0] = 77;
    integers.add(integers[0]);
    EXPECT_EQ(integers[size], 77);
  }
}

}  // namespace
