#include "vakbase/globals.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

constexpr VakInt SmallestInt = std::numeric_limits<VakInt>::min();
constexpr VakInt LargestInt = std::numeric_limits<VakInt>::max();
constexpr VakNum TwoTo63 = 9223372036854775808.0;

TEST(VakInitGlobals, MayBeCalledAgain) {
  VakInitGlobals();
  VakInitGlobals();
  EXPECT_EQ(VakGetInfinity(), HUGE_VAL);
}

TEST(VakGetInfinity, IsThePositiveInfinityOfIeeeArithmetic) {
  EXPECT_TRUE(std::isinf(VakGetInfinity()));
  EXPECT_GT(VakGetInfinity(), std::numeric_limits<VakNum>::max());
}

TEST(VakTrunc, KeepsWholeNumbers) {
  EXPECT_EQ(VakTrunc(0.0), 0);
  EXPECT_EQ(VakTrunc(-0.0), 0);
  EXPECT_EQ(VakTrunc(42.0), 42);
  EXPECT_EQ(VakTrunc(-42.0), -42);
  EXPECT_EQ(VakTrunc(9007199254740993.0), 9007199254740992);
}

TEST(VakTrunc, RoundsTowardsZero) {
  EXPECT_EQ(VakTrunc(2.999), 2);
  EXPECT_EQ(VakTrunc(-2.999), -2);
  EXPECT_EQ(VakTrunc(0.999), 0);
  EXPECT_EQ(VakTrunc(-0.999), 0);
  EXPECT_EQ(VakTrunc(std::numeric_limits<VakNum>::denorm_min()), 0);
}

TEST(VakTrunc, IsExactAtBothEndsOfTheRange) {
  EXPECT_EQ(VakTrunc(-TwoTo63), SmallestInt);
  EXPECT_EQ(VakTrunc(std::nextafter(-TwoTo63, 0.0)), SmallestInt + 1024);
  EXPECT_EQ(VakTrunc(std::nextafter(TwoTo63, 0.0)), LargestInt - 1023);
}

TEST(VakTrunc, GivesTheNearestEndBeyondTheRange) {
  EXPECT_EQ(VakTrunc(TwoTo63), LargestInt);
  EXPECT_EQ(VakTrunc(std::nextafter(-TwoTo63, -VakGetInfinity())), SmallestInt);
  EXPECT_EQ(VakTrunc(std::numeric_limits<VakNum>::max()), LargestInt);
  EXPECT_EQ(VakTrunc(std::numeric_limits<VakNum>::lowest()), SmallestInt);
  EXPECT_EQ(VakTrunc(VakGetInfinity()), LargestInt);
  EXPECT_EQ(VakTrunc(-VakGetInfinity()), SmallestInt);
}

TEST(VakTrunc, GivesZeroForNan) {
  EXPECT_EQ(VakTrunc(std::numeric_limits<VakNum>::quiet_NaN()), 0);
  EXPECT_EQ(VakTrunc(-std::numeric_limits<VakNum>::quiet_NaN()), 0);
}

}  // namespace
