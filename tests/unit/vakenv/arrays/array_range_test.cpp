// Arrays as ranges: iterators, chunks, building from ranges, printing.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <limits>
#include <list>
#include <numeric>
#include <ranges>
#include <span>
#include <sstream>

#include "tests/unit/vakenv/arrays/array_test_tools.h"

namespace {

static_assert(std::random_access_iterator<VakArrayIterator<double>>);
static_assert(std::random_access_iterator<VakArrayIterator<VakNumArray>>);
static_assert(std::ranges::random_access_range<VakNumArray>);
static_assert(std::ranges::random_access_range<VakBoolArray>);
static_assert(std::ranges::random_access_range<const VakIntArray>);
static_assert(std::ranges::random_access_range<VakArray<void*>>);
static_assert(std::ranges::random_access_range<VakIntArray2>);
static_assert(std::ranges::sized_range<VakIntArray>);
static_assert(std::ranges::borrowed_range<VakIntArray>);
static_assert(std::ranges::forward_range<VakArrayChunks<long>>);
static_assert(std::ranges::sized_range<VakArrayChunks<long>>);

// A range that can be walked over once.
struct Numbers {
  std::istream& in;
  [[nodiscard]] std::istream_iterator<long> begin() const { return in; }
  [[nodiscard]] std::istream_iterator<long> end() const { return {}; }
};

// Ways in which generic code asks for iterators.
auto sortUnqualified(auto& range) {
  using std::begin;
  using std::end;
  std::sort(begin(range), end(range));
}

TEST(ArrayRange, WorksInARangeBasedLoop) {
  VakArrayMemory manager;
  for (long size = 0; size <= 70; ++size) {
    const VakArrayOwner owner = VakMakeCounting(manager, size);
    const VakIntArray array(owner.get());
    long expected = 0;
    for (long& x : array) {
      EXPECT_EQ(x, expected++);
      x = 7;
    }
    EXPECT_EQ(expected, size);
    EXPECT_EQ(std::count(begin(array), end(array), 7L), size);
  }
}

TEST(ArrayRange, WorksWithTheAlgorithmsOnIterators) {
  VakArrayMemory manager;
  const VakArrayOwner owner = VakMakeCounting(manager, 1000);
  VakIntArray array(owner.get());
  std::reverse(begin(array), end(array));
  EXPECT_EQ(array[0], 999);
  std::sort(begin(array), end(array));
  EXPECT_TRUE(std::is_sorted(begin(array), end(array)));
  EXPECT_EQ(*std::lower_bound(begin(array), end(array), 500L), 500);
  EXPECT_EQ(std::accumulate(begin(array), end(array), 0L), 999 * 500);
  array.getImpl()->_size =
      std::remove_if(begin(array), end(array), [](long x) { return x % 3 != 0; }) - begin(array);
  EXPECT_EQ(array.getSize(), 334);
  EXPECT_EQ(array[333], 999);
}

TEST(ArrayRange, WorksWithTheAlgorithmsOnRanges) {
  VakArrayMemory manager;
  const VakArrayOwner owner = VakMakeCounting(manager, 100);
  VakIntArray array(owner.get());
  std::ranges::sort(array, std::ranges::greater());
  EXPECT_EQ(array[0], 99);
  EXPECT_EQ(std::ranges::size(array), 100u);
  EXPECT_EQ(*std::ranges::find(VakIntArray(array), 50L), 50) << "also of a handle that is gone";
}

TEST(ArrayRange, GenericCodeThatAsksForTheEndDoesNotEndTheArray) {
  VakArrayMemory manager;
  VakIntArray integers = VakIntArray::From(&manager, {3, 1, 2});
  VakNumArray numbers = VakNumArray::From(&manager, {3.0, 1.0, 2.0});
  VakBoolArray truths = VakBoolArray::From(&manager, {1, 0});
  VakArray<long> base = integers;
  sortUnqualified(integers);
  sortUnqualified(numbers);
  sortUnqualified(truths);
  sortUnqualified(base);
  const VakIntArray constant = integers;
  sortUnqualified(constant);
  EXPECT_EQ(VakElements(integers), std::vector<long>({1, 2, 3}));
  EXPECT_EQ(VakElements(numbers), std::vector<double>({1, 2, 3}));
  EXPECT_EQ(VakElements(truths), std::vector<long>({0, 1}));
  EXPECT_NE(integers.getImpl(), nullptr);
  integers.end();
  numbers.end();
  truths.end();
}

TEST(ArrayRange, GenericCodeThatAsksForTheEndDoesNotEndAnArrayOfRows) {
  VakArrayMemory manager;
  VakNumArray row = VakNumArray::From(&manager, {1.0});
  VakNumArray2 rows = VakNumArray2::From(&manager, {VakNumArray(), row});
  VakIntArray2 others(VakCreate<VakArrayI>(&manager, 2L, 8L));
  const auto count = [](auto& range) {
    using std::begin;
    using std::end;
    return std::distance(begin(range), end(range));
  };
  EXPECT_EQ(count(rows), 2);
  EXPECT_EQ(count(others), 2);
  EXPECT_TRUE(rows[1] == row);
  rows.end();
  others.end();
  row.end();
}

TEST(ArrayRange, AnEmptyHandleIsAnEmptyRange) {
  const VakNumArray empty;
  EXPECT_TRUE(begin(empty) == end(empty));
  EXPECT_TRUE(empty.chunks().empty());
  for (const double x : empty) ADD_FAILURE() << x;
}

TEST(ArrayRange, ANegativeSizeIsAnEmptyRange) {
  VakArrayMemory manager;
  const VakArrayOwner owner = VakMakeIntegers(manager, -4);
  const VakIntArray array(owner.get());
  EXPECT_TRUE(begin(array) == end(array));
  EXPECT_EQ(array.chunks().size(), 0u);
}

TEST(ArrayRange, AClearedArrayIsAnEmptyRange) {
  VakArrayMemory manager;
  const VakArrayOwner owner = VakMakeCounting(manager, 9);
  owner->clear();
  const VakIntArray array(owner.get());
  EXPECT_TRUE(begin(array) == end(array));
  EXPECT_TRUE(array.chunks().empty());
}

TEST(ArrayRange, IteratorsMoveAndCompareAsIndicesDo) {
  VakArrayMemory manager;
  const VakArrayOwner owner = VakMakeCounting(manager, 20);
  const VakIntArray array(owner.get());
  auto it = begin(array);
  EXPECT_EQ(*it++, 0);
  EXPECT_EQ(*++it, 2);
  EXPECT_EQ(*it--, 2);
  EXPECT_EQ(*--it, 0);
  it += 13;
  EXPECT_EQ(*it, 13);
  EXPECT_EQ(it[-3], 10);
  EXPECT_EQ(*(it - 4), 9);
  EXPECT_EQ(*(4 + it), 17);
  EXPECT_EQ(it - begin(array), 13);
  EXPECT_EQ(end(array) - it, 7);
  EXPECT_TRUE(it < end(array));
  EXPECT_TRUE(begin(array) <= it);
  EXPECT_TRUE(it == begin(array) + 13);
  it -= 13;
  EXPECT_TRUE(it == begin(array));
}

TEST(ArrayRange, IteratorsJumpBetweenAnyTwoElements) {
  VakArrayMemory manager;
  for (const long size : {1L, 4L, 5L, 16L, 17L, 64L}) {
    const VakArrayOwner owner = VakMakeCounting(manager, size);
    const VakIntArray array(owner.get());
    for (long from = 0; from <= size; ++from) {
      for (long to = 0; to <= size; ++to) {
        const auto a = begin(array) + from;
        const auto b = a + (to - from);
        ASSERT_EQ(b - a, to - from);
        ASSERT_TRUE(b == end(array) - (size - to));
        ASSERT_TRUE((a <=> b) == (from <=> to));
        if (to == size) continue;
        ASSERT_EQ(*b, to);
        ASSERT_EQ(a[to - from], to);
      }
    }
  }
}

TEST(ArrayRange, IteratorsStepThroughAFullArrayBothWays) {
  VakArrayMemory manager;
  for (const long size : {1L, 4L, 16L, 64L}) {
    const VakArrayOwner owner = VakMakeCounting(manager, size);
    const VakIntArray array(owner.get());
    auto it = begin(array);
    for (long i = 0; i < size; ++i) EXPECT_EQ(*it++, i);
    EXPECT_TRUE(it == end(array));
    for (long i = size; i-- > 0;) EXPECT_EQ(*--it, i);
    EXPECT_TRUE(it == begin(array));
  }
}

TEST(ArrayRange, IteratorsReachTheMembersOfElements) {
  VakArrayMemory manager;
  VakNumArray row(VakMemoryManager(&manager), 3);
  VakNumArray2 rows = VakNumArray2::From(&manager, {row});
  EXPECT_EQ(begin(rows)->getSize(), 3);
  rows.end();
  row.end();
}

TEST(ArrayRange, ChunksCoverAllElementsInOrder) {
  VakArrayMemory manager;
  for (long size = 0; size <= 70; ++size) {
    const VakArrayOwner owner = VakMakeCounting(manager, size);
    const VakIntArray array(owner.get());
    const VakArrayChunks<long> chunks = array.chunks();
    const long length = owner->_mod + 1;
    EXPECT_EQ(static_cast<long>(chunks.size()), (size + length - 1) / length);
    long expected = 0;
    for (const std::span<long> chunk : chunks) {
      EXPECT_FALSE(chunk.empty());
      for (const long x : chunk) EXPECT_EQ(x, expected++);
    }
    EXPECT_EQ(expected, size);
  }
}

TEST(ArrayRange, ChunksAreTheArraysOwnMemory) {
  VakArrayMemory manager;
  const VakArrayOwner owner = VakMakeCounting(manager, 20);
  const VakIntArray array(owner.get());
  for (const std::span<long> chunk : array.chunks()) std::fill(chunk.begin(), chunk.end(), 4L);
  EXPECT_EQ(VakIntegers(owner), std::vector<long>(20, 4L));
  EXPECT_EQ(array.chunks()[1].data(), &array[8]);
  EXPECT_EQ(array.chunks()[2].size(), 4u);
}

TEST(ArrayRange, IsBuiltFromAList) {
  VakArrayMemory manager;
  VakNumArray numbers = VakNumArray::From(&manager, {1.5, 2, 3});
  VakIntArray integers = VakIntArray::From(&manager, {4, 5});
  VakBoolArray truths = VakBoolArray::From(&manager, {0, 1, 1});
  VakIntArray none = VakIntArray::From(&manager, {});
  EXPECT_EQ(VakElements(numbers), std::vector<double>({1.5, 2, 3}));
  EXPECT_EQ(VakElements(integers), std::vector<long>({4, 5}));
  EXPECT_EQ(VakElements(truths), std::vector<long>({0, 1, 1}));
  EXPECT_EQ(none.getSize(), 0);
  EXPECT_NE(none.getImpl(), nullptr);
  numbers.end();
  integers.end();
  truths.end();
  none.end();
}

TEST(ArrayRange, IsBuiltFromPlainMemory) {
  VakArrayMemory manager;
  for (std::size_t size = 0; size <= 70; ++size) {
    std::vector<double> values(size);
    std::iota(values.begin(), values.end(), 0.5);
    VakNumArray array = VakNumArray::From(&manager, std::span<const double>(values));
    EXPECT_EQ(VakElements(array), values);
    EXPECT_EQ(array.getImpl()->check(), "");
    array.end();
  }
}

TEST(ArrayRange, IsBuiltFromAnyRangeOfConvertibleValues) {
  VakArrayMemory manager;
  VakNumArray numbers = VakNumArray::From(&manager, std::list<int>{3, 2, 1});
  VakIntArray integers = VakIntArray::From(&manager, std::array<short, 2>{-1, 1});
  VakNumArray widened = VakNumArray::From(&manager, integers);
  std::istringstream in("7 8 9");
  VakIntArray read = VakIntArray::From(&manager, Numbers{in});
  EXPECT_EQ(VakElements(numbers), std::vector<double>({3, 2, 1}));
  EXPECT_EQ(VakElements(integers), std::vector<long>({-1, 1}));
  EXPECT_EQ(VakElements(widened), std::vector<double>({-1, 1}));
  EXPECT_EQ(VakElements(read), std::vector<long>({7, 8, 9}));
  numbers.end();
  integers.end();
  widened.end();
  read.end();
}

TEST(ArrayRange, IsNotBuiltFromARangeWhoseFractionsWouldBeLost) {
  EXPECT_FALSE((VakElementRange<std::vector<double>, long>));
  EXPECT_FALSE((VakElementRange<VakNumArray, long>));
  EXPECT_FALSE((VakElementRange<std::vector<std::string>, long>));
  EXPECT_TRUE((VakElementRange<std::vector<int>, double>));
}

TEST(ArrayRange, AppendTakesListsRangesAndArrays) {
  VakArrayMemory manager;
  VakIntArray array = VakIntArray::From(&manager, {1});
  array.append({2, 3});
  array.append({});
  array.append(std::vector<long>{4, 5, 6});
  array.append(std::list<int>{7});
  array.append(array);
  const VakArray<long> base = array;
  array.append(base);
  std::vector<long> expected = {1, 2, 3, 4, 5, 6, 7};
  for (int i = 0; i < 2; ++i) {
    const std::vector<long> half = expected;
    expected.insert(expected.end(), half.begin(), half.end());
  }
  EXPECT_EQ(VakElements(array), expected);
  array.end();
}

TEST(ArrayRange, WhatWasAppendedBeforeARangeThrowsStays) {
  VakArrayMemory manager;
  VakIntArray array = VakIntArray::From(&manager, {1});
  const std::vector<long> source = {2, 3, 4};
  struct Throwing {
    long value;
    operator long() const {
      if (value == 4) throw std::runtime_error("no more");
      return value;
    }
  };
  const std::vector<Throwing> values = {{2}, {3}, {4}};
  EXPECT_THROW(array.append(values), std::runtime_error);
  EXPECT_EQ(VakElements(array), std::vector<long>({1, 2, 3}));
  array.end();
  EXPECT_THROW((void)VakIntArray::From(&manager, values), std::runtime_error);
  EXPECT_EQ(manager.getBlockCount(), 0);
}

template <class T>
std::string print(VakArray<T> array) {
  std::ostringstream out;
  out << array;
  return out.str();
}

TEST(ArrayRange, PrintsItsElementsInBrackets) {
  VakArrayMemory manager;
  VakIntArray integers = VakIntArray::From(&manager, {1, 2, 3});
  VakNumArray numbers = VakNumArray::From(&manager, {0.5, -2});
  VakBoolArray truths = VakBoolArray::From(&manager, {0, 1});
  VakIntArray none = VakIntArray::From(&manager, {});
  EXPECT_EQ(print(integers), "[1, 2, 3]");
  EXPECT_EQ(print(numbers), "[0.5, -2]");
  EXPECT_EQ(print(truths), "[0, 1]");
  EXPECT_EQ(print(none), "[]");
  std::ostringstream out;
  out << integers << numbers << truths;
  EXPECT_EQ(out.str(), "[1, 2, 3][0.5, -2][0, 1]");
  for (VakArray<long> array : {VakArray<long>(integers), VakArray<long>(truths)}) array.end();
  numbers.end();
  none.end();
}

TEST(ArrayRange, AnEmptyHandlePrintsAsBrackets) {
  EXPECT_EQ(print(VakNumArray()), "[]");
  EXPECT_EQ(print(VakIntArray2()), "[]");
}

TEST(ArrayRange, RowsPrintWithinBrackets) {
  VakArrayMemory manager;
  VakIntArray row = VakIntArray::From(&manager, {1, 2});
  VakIntArray2 rows = VakIntArray2::From(&manager, {row, VakIntArray(), row});
  std::ostringstream out;
  out << rows;
  EXPECT_EQ(out.str(), "[[1, 2], [], [1, 2]]");
  rows.end();
  row.end();
}

}  // namespace
