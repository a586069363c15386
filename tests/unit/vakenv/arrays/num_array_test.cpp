#include "vakenv/arrays/num_array.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>

#include "tests/unit/vakenv/arrays/array_test_tools.h"
#include "vakenv/environment.h"

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double Infinity = std::numeric_limits<double>::infinity();

class NumArray : public VakArrayEnvTest {
 protected:
  std::vector<double> values(VakNumArray array) { return VakElements(array); }
  VakNumArray of(std::initializer_list<double> list) { return VakNumArray::From(env, list); }
};

TEST_F(NumArray, MakesZerosInAnEnvironmentOrAMemoryManager) {
  EXPECT_EQ(values(VakNumArray(env, 3)), std::vector<double>(3, 0.0));
  EXPECT_EQ(values(VakNumArray(env.getMemoryManager(), 3)), std::vector<double>(3, 0.0));
  VakArrayMemory manager;
  VakNumArray array(VakMemoryManager(&manager), 2);
  EXPECT_EQ(array.getImpl()->_memoryManager, &manager);
  EXPECT_EQ(values(array), std::vector<double>(2, 0.0));
  array.end();
}

TEST_F(NumArray, TakesOneValue) {
  EXPECT_EQ(values(VakNumArray(env, 1, 1.5)), std::vector<double>({1.5}));
  EXPECT_EQ(values(VakNumArray(env, 1, 2)), std::vector<double>({2.0}));
}

TEST_F(NumArray, OneValueForAnotherCountThrows) {
  for (const long n : {2L, 0L, -1L}) {
    EXPECT_EQ(VakMessageOf<VakWrongUsage>([&] { VakNumArray(env, n, 1.5); }),
              "VakNumArray::VakNumArray: n != 1");
  }
}

TEST_F(NumArray, TakesAListOfNumericValues) {
  const VakVarArgsNum second = 7.25;
  EXPECT_EQ(values(VakNumArray(env, 3, 1.0, second, 2.0)), std::vector<double>({1.0, 7.25, 2.0}));
  EXPECT_EQ(values(VakNumArray(env, 2, 1.0, 2.0)), std::vector<double>({1, 2}));
  EXPECT_EQ(values(VakNumArray(env, 6, 1.0, 2, 3.0, 4.0, 5.0, 6.5)),
            std::vector<double>({1, 2, 3, 4, 5, 6.5}));
}

TEST_F(NumArray, TakesAListThatBeginsWithAnInt) {
  EXPECT_EQ(values(VakNumArray(env, 4, 1, 2, 3, -4)), std::vector<double>({1, 2, 3, -4}));
  EXPECT_EQ(values(VakNumArray(env, 3, 1, 2.5, 3)), std::vector<double>({1, 2.5, 3}));
  EXPECT_EQ(values(VakNumArray(env, 3, INT_MIN, 0, INT_MIN)),
            std::vector<double>({INT_MIN, 0, INT_MIN}));
}

TEST_F(NumArray, TakesAListThatBeginsWithALong) {
  EXPECT_EQ(values(VakNumArray(env, 4, 1L, 2, 3L, -4L)), std::vector<double>({1, 2, 3, -4}));
  EXPECT_EQ(values(VakNumArray(env, 3, 1L << 60, 0.5, 1L << 61)),
            std::vector<double>({0x1p60, 0.5, 0x1p61}));
}

TEST_F(NumArray, AListOfLessThanTwoThrows) {
  for (const long n : {1L, 0L, -5L}) {
    const char* text = "VakNumArray::VakNumArray: n must be >=2";
    EXPECT_EQ(VakMessageOf<VakWrongUsage>([&] { VakNumArray(env, n, 1.0, 2.0); }), text);
    EXPECT_EQ(VakMessageOf<VakWrongUsage>([&] { VakNumArray(env, n, 1, 2.0); }), text);
    EXPECT_EQ(VakMessageOf<VakWrongUsage>([&] { VakNumArray(env, n, 1L, 2.0); }), text);
  }
}

TEST_F(NumArray, AfterAThrowingConstructorTheHandleAlreadyHoldsAnEmptyArray) {
  const auto expectEmptyArray = [&](const auto& construct) {
    alignas(VakNumArray) unsigned char place[sizeof(VakNumArray)] = {};
    EXPECT_THROW(construct(place), VakWrongUsage);
    VakArrayI* impl = nullptr;
    std::memcpy(&impl, place, sizeof(impl));
    ASSERT_NE(impl, nullptr);
    EXPECT_EQ(impl->_size, 0);
    EXPECT_EQ(impl->_max, 1);
    EXPECT_TRUE(impl->getEnv() == env);
  };
  expectEmptyArray([&](void* place) { ::new (place) VakNumArray(env, 2, 1.5); });
  expectEmptyArray([&](void* place) { ::new (place) VakNumArray(env, 1, 1.5, 2.0); });
  expectEmptyArray([&](void* place) { ::new (place) VakNumArray(env, 1, 1, 2.0); });
  expectEmptyArray([&](void* place) { ::new (place) VakNumArray(env, 1, 1L, 2.0); });
}

TEST_F(NumArray, LongListsAreReadWhole) {
  const VakNumArray array(env, 20, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18,
                          19, 20);
  ASSERT_EQ(array.getSize(), 20);
  for (long i = 0; i < 20; ++i) EXPECT_EQ(array[i], static_cast<double>(i + 1));
  EXPECT_EQ(array.getImpl()->_max, 64);
  EXPECT_EQ(VakCountChunks(*array.getImpl()), 3);
}

TEST_F(NumArray, ZerosAndOnesAreBoolean) {
  EXPECT_TRUE(of({0.0, 1.0, 1.0}).areElementsBoolean());
  EXPECT_TRUE(of({0.0, 1.0, 1.0}).areElementsInteger());
  EXPECT_TRUE(of({-0.0}).areElementsBoolean());
}

TEST_F(NumArray, TwoIsIntegerAndNotBoolean) {
  EXPECT_TRUE(of({2.0}).areElementsInteger());
  EXPECT_FALSE(of({2.0}).areElementsBoolean());
  EXPECT_FALSE(of({-1.0}).areElementsBoolean());
}

TEST_F(NumArray, OneHalfIsNeitherIntegerNorBoolean) {
  EXPECT_FALSE(of({0.5}).areElementsInteger());
  EXPECT_FALSE(of({0.5}).areElementsBoolean());
}

TEST_F(NumArray, NaNIsNeitherIntegerNorBoolean) {
  EXPECT_FALSE(of({1.0, NaN}).areElementsInteger());
  EXPECT_FALSE(of({1.0, NaN}).areElementsBoolean());
}

TEST_F(NumArray, AnEmptyArrayIsIntegerAndBoolean) {
  EXPECT_TRUE(of({}).areElementsInteger());
  EXPECT_TRUE(of({}).areElementsBoolean());
}

TEST_F(NumArray, IntegralMeansEqualToItsFloorForEveryMagnitude) {
  for (const double x : {0.0,          -0.0,
                         1.0,          -1.0,
                         0x1p51,       0x1p52,
                         0x1p53,       0x1p62,
                         0x1p63,       -0x1p63,
                         1e300,        -1e300,
                         Infinity,     -Infinity,
                         0x1p52 - 0.5, -(0x1p52 - 0.5),
                         0x1p51 + 0.5, 1e-300,
                         -1e-300,      0.1,
                         -2.5,         std::numeric_limits<double>::denorm_min(),
                         NaN}) {
    EXPECT_EQ(of({x}).areElementsInteger(), std::floor(x) == x) << x;
  }
}

TEST_F(NumArray, TheLastOfManyElementsIsLookedAt) {
  VakNumArray array(env, 1000);
  EXPECT_TRUE(array.areElementsBoolean());
  array[999] = 0.5;
  EXPECT_FALSE(array.areElementsInteger());
  EXPECT_FALSE(array.areElementsBoolean());
  EXPECT_TRUE(array.contains(0.5));
}

TEST_F(NumArray, ToIntArrayConvertsIntegralValues) {
  const VakIntArray array = of({2.0, -3.0}).toIntArray();
  EXPECT_EQ(VakElements(array), std::vector<long>({2, -3}));
  EXPECT_TRUE(array.getEnv() == env);
}

TEST_F(NumArray, ToIntArrayConvertsManyElementsOfAnyGeometry) {
  for (const long size : {0L, 1L, 5L, 70L, 1000L}) {
    VakNumArray array(env, size);
    array.getImpl()->grow(300);
    for (long i = 0; i < size; ++i) array[i] = static_cast<double>(-i);
    const VakIntArray integers = array.toIntArray();
    ASSERT_EQ(integers.getSize(), size);
    for (long i = 0; i < size; ++i) EXPECT_EQ(integers[i], -i);
  }
}

TEST_F(NumArray, ToIntArraySaturatesBeyondTheRangeOfIntegers) {
  EXPECT_EQ(VakElements(of({1e300, -Infinity}).toIntArray()),
            std::vector<long>({LONG_MAX, LONG_MIN}));
}

TEST_F(NumArray, ToIntArrayOfAFractionThrows) {
  const VakNumArray array = of({2.5});
  EXPECT_EQ(VakMessageOf<VakBadConversion>([&] { (void)array.toIntArray(); }),
            "Bad Conversion between an integer object and a numeric object.");
}

TEST_F(NumArray, ContainsComparesExactly) {
  const VakNumArray array = of({0.5, 2.0, NaN, -0.0});
  EXPECT_TRUE(array.contains(2.0));
  EXPECT_TRUE(array.contains(0.0));
  EXPECT_FALSE(array.contains(2.0 + 1e-15));
  EXPECT_FALSE(array.contains(NaN));
}

TEST_F(NumArray, ContainsOnAnEmptyHandleThrows) {
  EXPECT_EQ(VakMessageOf<VakWrongUsage>([] { (void)VakNumArray().contains(1.0); }),
            "Empty Handle in VakNumArray::contains");
}

TEST_F(NumArray, ContainsOnAnEmptyArrayIsFalse) { EXPECT_FALSE(of({}).contains(0.0)); }

TEST(VarArgs, MarksAreTheirValue) {
  EXPECT_EQ(sizeof(VakVarArgsNum), 8u);
  EXPECT_EQ(sizeof(VakVarArgsInt), 8u);
  EXPECT_TRUE(std::is_trivially_copyable_v<VakVarArgsNum>);
  EXPECT_TRUE(std::is_trivially_copyable_v<VakVarArgsInt>);
  EXPECT_TRUE((std::is_convertible_v<double, VakVarArgsNum>));
  EXPECT_TRUE((std::is_convertible_v<long, VakVarArgsInt>));
}

}  // namespace
