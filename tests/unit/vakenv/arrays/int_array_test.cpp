#include "vakenv/arrays/int_array.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <new>

#include "tests/unit/vakenv/arrays/array_test_tools.h"
#include "vakenv/environment.h"

namespace {

class IntArray : public VakArrayEnvTest {
 protected:
  std::vector<long> values(VakIntArray array) { return VakElements(array); }
  VakIntArray of(std::initializer_list<long> list) { return VakIntArray::From(env, list); }
};

TEST_F(IntArray, MakesZerosInAnEnvironmentOrAMemoryManager) {
  EXPECT_EQ(values(VakIntArray(env, 3)), std::vector<long>(3, 0));
  EXPECT_EQ(values(VakIntArray(env.getMemoryManager(), 3)), std::vector<long>(3, 0));
  VakArrayMemory manager;
  VakIntArray array(VakMemoryManager(&manager), 2);
  EXPECT_EQ(array.getImpl()->_memoryManager, &manager);
  array.end();
}

TEST_F(IntArray, TakesOneValue) {
  EXPECT_EQ(values(VakIntArray(env, 1, 5)), std::vector<long>({5}));
  EXPECT_EQ(values(VakIntArray(env, 1, LONG_MAX)), std::vector<long>({LONG_MAX}));
}

TEST_F(IntArray, OneValueForAnotherCountThrows) {
  for (const long n : {2L, 0L, -1L}) {
    EXPECT_EQ(VakMessageOf<VakWrongUsage>([&] { VakIntArray(env, n, 5); }),
              "VakIntArray::VakIntArray: n != 1");
  }
}

TEST_F(IntArray, TakesAListOfLongs) {
  EXPECT_EQ(values(VakIntArray(env, 4, 1L, 2L, 3L, -4L)), std::vector<long>({1, 2, 3, -4}));
  EXPECT_EQ(values(VakIntArray(env, 2, 1L, 2)), std::vector<long>({1, 2}));
}

TEST_F(IntArray, TakesAListOfInts) {
  const VakVarArgsInt second = 7;
  EXPECT_EQ(values(VakIntArray(env, 3, 1, second, 3)), std::vector<long>({1, 7, 3}));
  EXPECT_EQ(values(VakIntArray(env, 4, INT_MIN, 2, INT_MAX, INT_MIN)),
            std::vector<long>({INT_MIN, 2, INT_MAX, INT_MIN}));
}

TEST_F(IntArray, FurtherIntegersLoseTheirLowBitsBeyondTwoToThe53AndTheFirstTwoDoNot) {
  const long odd = (1L << 53) + 1;
  EXPECT_EQ(values(VakIntArray(env, 4, odd, odd, odd, -odd)),
            std::vector<long>({odd, odd, odd - 1, 1 - odd}));
  EXPECT_EQ(values(VakIntArray(env, 4, LONG_MAX, LONG_MIN, LONG_MAX, LONG_MIN)),
            std::vector<long>({LONG_MAX, LONG_MIN, LONG_MAX, LONG_MIN}));
}

TEST_F(IntArray, AListOfLessThanTwoThrows) {
  const VakVarArgsInt second = 2;
  for (const long n : {1L, 0L, -5L}) {
    const char* text = "VakIntArray::VakIntArray: n must be >= 2";
    EXPECT_EQ(VakMessageOf<VakWrongUsage>([&] { VakIntArray(env, n, 5, second); }), text);
    EXPECT_EQ(VakMessageOf<VakWrongUsage>([&] { VakIntArray(env, n, 5L, second); }), text);
  }
}

TEST_F(IntArray, AfterAThrowingConstructorTheHandleAlreadyHoldsAnEmptyArray) {
  const auto expectEmptyArray = [&](const auto& construct) {
    alignas(VakIntArray) unsigned char place[sizeof(VakIntArray)] = {};
    EXPECT_THROW(construct(place), VakWrongUsage);
    VakArrayI* impl = nullptr;
    std::memcpy(&impl, place, sizeof(impl));
    ASSERT_NE(impl, nullptr);
    EXPECT_EQ(impl->_size, 0);
    EXPECT_TRUE(impl->getEnv() == env);
  };
  expectEmptyArray([&](void* place) { ::new (place) VakIntArray(env, 2, 5); });
  expectEmptyArray([&](void* place) { ::new (place) VakIntArray(env, 1, 5, 6); });
  expectEmptyArray([&](void* place) { ::new (place) VakIntArray(env, 1, 5L, 6); });
}

TEST_F(IntArray, OnlyZerosAndOnesAreBoolean) {
  EXPECT_TRUE(of({0, 1, 1}).areElementsBoolean());
  EXPECT_TRUE(of({}).areElementsBoolean());
  EXPECT_FALSE(of({2}).areElementsBoolean());
  VakIntArray array(env, 1000);
  array[999] = 3;
  EXPECT_FALSE(array.areElementsBoolean());
}

TEST_F(IntArray, MinusOneIsNotBoolean) { EXPECT_FALSE(of({0, -1}).areElementsBoolean()); }

TEST_F(IntArray, ToNumArrayConvertsEachElement) {
  const VakNumArray array = of({1, -2, (1L << 53) + 1}).toNumArray();
  EXPECT_EQ(VakElements(array), std::vector<double>({1, -2, 0x1p53}));
  EXPECT_TRUE(array.getEnv() == env);
}

TEST_F(IntArray, ConversionsWorkForAnyGeometry) {
  for (const long size : {0L, 1L, 5L, 70L, 1000L}) {
    VakIntArray array(env, size);
    array.getImpl()->grow(300);
    for (long i = 0; i < size; ++i) array[i] = -i;
    const VakNumArray numbers = array.toNumArray();
    const VakArray<void*> pointers = array.toAnyArray();
    ASSERT_EQ(numbers.getSize(), size);
    ASSERT_EQ(pointers.getSize(), size);
    for (long i = 0; i < size; ++i) {
      EXPECT_EQ(numbers[i], static_cast<double>(-i));
      EXPECT_EQ(reinterpret_cast<long>(pointers[i]), -i);
    }
  }
}

TEST_F(IntArray, ToAnyArrayKeepsEveryBit) {
  const VakArray<void*> array = of({LONG_MIN, -1, 0, (1L << 53) + 1}).toAnyArray();
  ASSERT_EQ(array.getSize(), 4);
  EXPECT_EQ(reinterpret_cast<long>(array[0]), LONG_MIN);
  EXPECT_EQ(reinterpret_cast<long>(array[1]), -1);
  EXPECT_EQ(array[2], nullptr);
  EXPECT_EQ(reinterpret_cast<long>(array[3]), (1L << 53) + 1);
  EXPECT_EQ(array.getImpl()->_elementSize, 8);
  EXPECT_EQ(array.getImpl()->_memoryManager, env.getMemoryManager().getImpl());
}

TEST_F(IntArray, ConversionsOfAForeignMemoryManagersArrayThrow) {
  VakArrayMemory manager;
  VakIntArray array(VakMemoryManager(&manager), 2);
  EXPECT_THROW((void)array.toNumArray(), VakEnv::IncompatibleMemoryManagerException);
  EXPECT_THROW((void)array.toAnyArray(), VakEnv::IncompatibleMemoryManagerException);
  array.end();
}

TEST_F(IntArray, ContainsFindsAValue) {
  EXPECT_TRUE(of({3, 1, 4}).contains(4));
  EXPECT_TRUE(of({3, 1, 0}).contains(0));
  EXPECT_FALSE(of({3, 1, 4}).contains(5));
}

TEST_F(IntArray, ContainsOnAnEmptyHandleThrows) {
  const char* text = "Empty Handle in VakIntArray::contains";
  EXPECT_EQ(VakMessageOf<VakWrongUsage>([] { (void)VakIntArray().contains(1); }), text);
  EXPECT_EQ(VakMessageOf<VakWrongUsage>([&] { (void)VakIntArray().contains(of({})); }), text);
}

TEST_F(IntArray, ContainsOnAnEmptyArrayIsFalse) { EXPECT_FALSE(of({}).contains(0)); }

TEST_F(IntArray, ContainsOfAnArrayNeedsEveryElement) {
  EXPECT_TRUE(of({3, 1, 4}).contains(of({4, 3, 3})));
  EXPECT_FALSE(of({3, 1, 4}).contains(of({4, 5})));
  EXPECT_TRUE(of({3}).contains(of({})));
  EXPECT_TRUE(of({}).contains(of({})));
  EXPECT_FALSE(of({}).contains(of({1})));
}

TEST_F(IntArray, DiscardRemovesTheLastOccurrence) {
  VakIntArray array = of({3, 1, 3});
  array.discard(3);
  EXPECT_EQ(values(array), std::vector<long>({3, 1}));
}

TEST_F(IntArray, DiscardOfAnAbsentValueDoesNothing) {
  VakIntArray array = of({3, 1, 3});
  array.discard(2);
  EXPECT_EQ(values(array), std::vector<long>({3, 1, 3}));
  VakIntArray none = of({});
  none.discard(2);
  EXPECT_EQ(none.getSize(), 0);
}

TEST_F(IntArray, DiscardOfAnArrayRemovesOneOccurrenceForEachElement) {
  VakIntArray array = of({3, 1, 3, 2, 1, 3});
  array.discard(of({3, 1, 3, 7}));
  EXPECT_EQ(values(array), std::vector<long>({3, 1, 2}));
}

TEST_F(IntArray, DiscardOfItselfLeavesNothing) {
  VakIntArray array = of({3, 1, 3, 2});
  array.discard(array);
  EXPECT_EQ(array.getSize(), 0);
}

TEST_F(IntArray, DiscardOnAnEmptyHandleThrowsAndNamesRemove) {
  const char* text = "Empty Handle in VakIntArray::remove";
  EXPECT_EQ(VakMessageOf<VakWrongUsage>([] { VakIntArray().discard(1); }), text);
  EXPECT_EQ(VakMessageOf<VakWrongUsage>([&] { VakIntArray().discard(of({1})); }), text);
}

}  // namespace
