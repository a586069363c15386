#include "vakenv/arrays/ordered_index.h"

#include <gtest/gtest.h>

#include <numeric>

#include "tests/unit/vakenv/arrays/array_test_tools.h"

namespace {

class OrderedIndex : public VakArrayEnvTest {
 protected:
  VakIntArray of(const std::vector<long>& values) { return VakIntArray::From(env, values); }
  VakIntArray counting(long n) {
    std::vector<long> values(static_cast<std::size_t>(n));
    std::iota(values.begin(), values.end(), 0L);
    return of(values);
  }
  // The common values, in both orders of the arguments when that does not matter.
  std::vector<long> common(VakIntArray a, VakIntArray b) {
    return VakElements(intersectOrderedIndex(env, a, b));
  }
};

using Values = std::vector<long>;

TEST_F(OrderedIndex, CommonValuesComeInAscendingOrder) {
  const VakIntArray result = intersectOrderedIndex(env, of({1, 3, 5, 7}), of({3, 4, 5}));
  EXPECT_EQ(VakElements(result), Values({3, 5}));
  EXPECT_TRUE(result.getEnv() == env);
  EXPECT_EQ(common(of({3, 4, 5}), of({1, 3, 5, 7})), Values({3, 5}));
}

TEST_F(OrderedIndex, DisjointRangesGiveAnEmptyHandleAndNotAnEmptyArray) {
  EXPECT_EQ(intersectOrderedIndex(env, of({1, 2}), of({5, 6})).getImpl(), nullptr);
  EXPECT_EQ(intersectOrderedIndex(env, of({5, 6}), of({1, 2})).getImpl(), nullptr);
}

TEST_F(OrderedIndex, NothingInCommonWithinOverlappingRangesGivesAnEmptyHandle) {
  EXPECT_EQ(intersectOrderedIndex(env, of({1, 3, 5}), of({2, 4})).getImpl(), nullptr);
}

TEST_F(OrderedIndex, EmptyHandlesAndEmptyArraysGiveAnEmptyHandle) {
  EXPECT_EQ(intersectOrderedIndex(env, VakIntArray(), of({1})).getImpl(), nullptr);
  EXPECT_EQ(intersectOrderedIndex(env, of({1}), VakIntArray()).getImpl(), nullptr);
  EXPECT_EQ(intersectOrderedIndex(env, of({}), of({1})).getImpl(), nullptr);
  EXPECT_EQ(intersectOrderedIndex(env, of({1}), of({})).getImpl(), nullptr);
  EXPECT_EQ(intersectOrderedIndex(env, of({}), of({})).getImpl(), nullptr);
}

TEST_F(OrderedIndex, AThousandElementsAndOneAreSearchedByHalving) {
  EXPECT_EQ(common(counting(1000), of({998})), Values({998}));
  EXPECT_EQ(common(of({998}), counting(1000)), Values({998}));
}

TEST_F(OrderedIndex, SearchByHalvingFindsEveryValue) {
  const VakIntArray longer = counting(301);
  for (long first = 0; first <= 300; ++first) {
    EXPECT_EQ(common(longer, of({first})), Values({first}));
    if (first < 290) {
      EXPECT_EQ(common(longer, of({first, first + 7})), Values({first, first + 7}));
    }
  }
}

TEST_F(OrderedIndex, SearchByHalvingPassesOverGaps) {
  std::vector<long> even(1000);
  for (std::size_t i = 0; i < even.size(); ++i) even[i] = static_cast<long>(2 * i);
  for (long value = 1; value < 1990; value += 2) {
    EXPECT_EQ(common(of(even), of({value, value + 1})), Values({value + 1}));
  }
}

TEST_F(OrderedIndex, DuplicatesArePairedOff) {
  EXPECT_EQ(common(of({2, 2, 3}), of({2, 2})), Values({2, 2}));
  EXPECT_EQ(common(of({2, 2, 2}), of({2, 2})), Values({2, 2}));
  EXPECT_EQ(common(of({2, 3, 3}), of({2, 2, 3, 3})), Values({2, 3, 3}));
}

TEST_F(OrderedIndex, SearchByHalvingPassesOverDuplicatesBeforeTheOneItHits) {
  // 300 elements of which the last 160 are 5; halving lands on index 150, where all is 5 behind.
  std::vector<long> longer(140, 1);
  longer.resize(300, 5);
  EXPECT_EQ(common(of(longer), of({5, 5})), Values({5, 5}));
  // Of 300 elements those at 149 and 150 are 5. Halving lands on the second one, so one pair is
  // lost: only one 5 is left for the two of the shorter array.
  longer.assign(149, 1);
  longer.resize(151, 5);
  longer.resize(300, 9);
  EXPECT_EQ(common(of(longer), of({5, 5})), Values({5}));
}

TEST_F(OrderedIndex, AHundredTimesAsLongIsNotYetSearchedByHalving) {
  // As above with 100 and 101 elements to one: only the second case skips.
  for (const long size : {200L, 201L}) {
    std::vector<long> longer(static_cast<std::size_t>(size), 9);
    const std::size_t middle = static_cast<std::size_t>(size) / 2;
    for (std::size_t i = 0; i < middle - 1; ++i) longer[i] = 1;
    longer[middle - 1] = 5;
    longer[middle] = 5;
    EXPECT_EQ(common(of(longer), of({5, 5})), size == 200 ? Values({5, 5}) : Values({5}));
  }
}

TEST_F(OrderedIndex, OnEqualSizesTheFirstIsTheLonger) {
  EXPECT_EQ(common(of({1, 2, 3}), of({3, 4, 5})), Values({3}));
  EXPECT_EQ(common(of({3, 4, 5}), of({1, 2, 3})), Values({3}));
}

TEST_F(OrderedIndex, TheResultComesFromTheGivenMemoryManager) {
  VakArrayMemory manager;
  VakIntArray result = intersectOrderedIndex(VakMemoryManager(&manager), of({1, 2}), of({2}));
  ASSERT_NE(result.getImpl(), nullptr);
  EXPECT_EQ(result.getImpl()->_memoryManager, &manager);
  result.end();
}

TEST_F(OrderedIndex, NothingIsAllocatedWhenNothingMatches) {
  VakArrayMemory manager;
  EXPECT_EQ(intersectOrderedIndex(&manager, of({1, 3, 5}), of({2, 4})).getImpl(), nullptr);
  EXPECT_EQ(intersectOrderedIndex(&manager, counting(1000), of({-5, 2000})).getImpl(), nullptr);
  EXPECT_EQ(manager.getRequestCount(), 0);
}

TEST_F(OrderedIndex, AnEmptyEnvironmentThrows) {
  const VakEnv none(static_cast<VakEnvI*>(nullptr));
  EXPECT_EQ(VakMessageOf<VakEmptyHandleException>(
                [&] { (void)intersectOrderedIndex(none, of({1}), of({1})); }),
            "VakEnv: Using empty handle");
}

}  // namespace
