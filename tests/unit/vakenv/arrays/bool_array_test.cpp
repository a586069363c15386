#include "vakenv/arrays/bool_array.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <type_traits>

#include "tests/unit/vakenv/arrays/array_test_tools.h"

namespace {

class BoolArray : public VakArrayEnvTest {
 protected:
  std::vector<long> values(VakBoolArray array) { return VakElements(array); }
};

TEST_F(BoolArray, HoldsIntegersAndIsNoIntegerArray) {
  EXPECT_TRUE((std::is_base_of_v<VakArray<long>, VakBoolArray>));
  EXPECT_FALSE((std::is_base_of_v<VakIntArray, VakBoolArray>));
}

TEST_F(BoolArray, MakesZeros) { EXPECT_EQ(values(VakBoolArray(env, 3)), std::vector<long>(3, 0)); }

TEST_F(BoolArray, TakesOneValueAsItIs) {
  EXPECT_EQ(values(VakBoolArray(env, 1, 1)), std::vector<long>({1}));
  EXPECT_EQ(values(VakBoolArray(env, 1, 5)), std::vector<long>({5}));
}

TEST_F(BoolArray, OneValueForAnotherCountThrows) {
  for (const long n : {2L, 0L, -1L}) {
    EXPECT_EQ(VakMessageOf<VakWrongUsage>([&] { VakBoolArray(env, n, 1); }),
              "VakBoolArray::VakBoolArray: n != 1");
  }
}

TEST_F(BoolArray, TakesAListOfLongs) {
  EXPECT_EQ(values(VakBoolArray(env, 4, 1L, 0, 1L, 0L)), std::vector<long>({1, 0, 1, 0}));
  const long odd = (1L << 53) + 1;
  EXPECT_EQ(values(VakBoolArray(env, 3, odd, odd, odd)), std::vector<long>({odd, odd, odd - 1}));
}

TEST_F(BoolArray, AListOfLessThanTwoThrows) {
  for (const long n : {1L, 0L, -5L}) {
    EXPECT_EQ(VakMessageOf<VakWrongUsage>([&] { VakBoolArray(env, n, 1, 0); }),
              "VakBoolArray::VakBoolArray: n must be >= 2");
  }
}

TEST_F(BoolArray, AfterAThrowingConstructorTheHandleAlreadyHoldsAnEmptyArray) {
  const auto expectEmptyArray = [&](const auto& construct) {
    alignas(VakBoolArray) unsigned char place[sizeof(VakBoolArray)] = {};
    EXPECT_THROW(construct(place), VakWrongUsage);
    VakArrayI* impl = nullptr;
    std::memcpy(&impl, place, sizeof(impl));
    ASSERT_NE(impl, nullptr);
    EXPECT_EQ(impl->_size, 0);
    EXPECT_TRUE(impl->getEnv() == env);
  };
  expectEmptyArray([&](void* place) { ::new (place) VakBoolArray(env, 2, 1); });
  expectEmptyArray([&](void* place) { ::new (place) VakBoolArray(env, 1, 1, 0); });
}

}  // namespace
