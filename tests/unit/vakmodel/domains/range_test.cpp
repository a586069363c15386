// Ranges and their hash and equality.

#include "vakmodel/domains/range.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include "tests/support/scoped_env.h"
#include "vakbase/globals.h"
#include "vakenv/core/create.h"

namespace {

constexpr VakNum QuietNaN = std::numeric_limits<VakNum>::quiet_NaN();
constexpr VakInt Least = std::numeric_limits<VakInt>::min();
constexpr VakInt Greatest = std::numeric_limits<VakInt>::max();

/// A NaN whose bits are none of the usual ones.
VakNum oddNaN() { return std::bit_cast<VakNum>(std::uint64_t{0xfff0000000000123U}); }

TEST(Range, KeepsItsBounds) {
  const VakScopedEnv env;
  const auto* integers = VakCreate<VakIntRangeI>(env.impl(), -3L, Greatest);
  EXPECT_EQ(integers->getLB(), -3);
  EXPECT_EQ(integers->getUB(), Greatest);
  const auto* numbers = VakCreate<VakNumRangeI>(env.impl(), -0.5, VakGetInfinity());
  EXPECT_EQ(numbers->getLB(), -0.5);
  EXPECT_EQ(numbers->getUB(), VakGetInfinity());
}

TEST(Range, TakesPartInTheTypeSystem) {
  const VakScopedEnv env;
  const auto* range = VakCreate<VakIntRangeI>(env.impl(), 0L, 1L);
  EXPECT_EQ(range->isType(VakIntRangeI::GetTypeInfo()), 1);
  EXPECT_EQ(range->isType(VakRttiEnvObjectI::GetTypeInfo()), 1);
  EXPECT_EQ(range->isType(VakNumRangeI::GetTypeInfo()), 0);
  EXPECT_STREQ(range->getRttiTypeName(), "VakIntRangeI");
  EXPECT_STREQ(VakNumRangeI::GetRttiTypeName(), "VakNumRangeI");
}

TEST(Range, GivesItsMemoryBackWhenDeleted) {
  const VakScopedEnv env;
  const VakInt usage = env.impl()->getMemoryUsage();
  delete VakCreate<VakIntRangeI>(env.impl(), 0L, 1L);
  delete VakCreate<VakNumRangeI>(env.impl(), 0.0, 1.0);
  EXPECT_EQ(env.impl()->getMemoryUsage(), usage);
}

TEST(Range, MakesAKeyInTheEnvironmentThatOutlivesIt) {
  const VakScopedEnv env;
  auto* integers = VakCreate<VakIntRangeI>(env.impl(), 2L, 5L);
  auto* numbers = VakCreate<VakNumRangeI>(env.impl(), -0.0, 5.0);
  const VakIntRangeI* integerKey = integers->makeKey(env.impl());
  const VakNumRangeI* numberKey = numbers->makeKey(env.impl());
  delete integers;
  delete numbers;
  EXPECT_EQ(integerKey->_env, env.impl());
  EXPECT_EQ(integerKey->getLB(), 2);
  EXPECT_EQ(integerKey->getUB(), 5);
  EXPECT_EQ(numberKey->getLB(), 0.0);
  EXPECT_EQ(numberKey->getUB(), 5.0);
}

TEST(Range, MakesAKeyInAnotherEnvironmentThanItsOwn) {
  const VakScopedEnv env;
  VakScopedEnv own;
  const auto* range = VakCreate<VakIntRangeI>(own.impl(), 2L, 5L);
  const VakIntRangeI* key = range->makeKey(env.impl());
  own.env.end();
  EXPECT_EQ(key->_env, env.impl());
  EXPECT_EQ(key->getUB(), 5);
}

// ---- Equality -----------------------------------------------------------------------------------

VakInt isEqual(VakNum lb, VakNum ub, VakNum otherLb, VakNum otherUb) {
  VakNumRangeI range(nullptr, lb, ub);
  VakNumRangeI other(nullptr, otherLb, otherUb);
  return VakNumDomainCompFunction(&range, &other);
}

TEST(NumDomainCompFunction, ComparesBothBounds) {
  EXPECT_EQ(isEqual(1, 2, 1, 2), 1);
  EXPECT_EQ(isEqual(1, 2, 1, 3), 0);
  EXPECT_EQ(isEqual(1, 2, 0, 2), 0);
  EXPECT_EQ(isEqual(1, 2, 2, 1), 0);
  EXPECT_EQ(isEqual(-VakGetInfinity(), VakGetInfinity(), -VakGetInfinity(), VakGetInfinity()), 1);
  EXPECT_EQ(isEqual(-VakGetInfinity(), 0, VakGetInfinity(), 0), 0);
}

TEST(NumDomainCompFunction, TakesZeroesOfBothSignsAndAllNaNsAsEqual) {
  EXPECT_EQ(isEqual(0.0, 1, -0.0, 1), 1);
  EXPECT_EQ(isEqual(QuietNaN, 1, oddNaN(), 1), 1);
  EXPECT_EQ(isEqual(0, QuietNaN, 0, -QuietNaN), 1);
  EXPECT_EQ(isEqual(QuietNaN, 1, 1, 1), 0);
  EXPECT_EQ(isEqual(1, 1, 1, QuietNaN), 0);
}

TEST(IntDomainCompFunction, ComparesBothBounds) {
  VakIntRangeI range(nullptr, Least, Greatest);
  VakIntRangeI same(nullptr, Least, Greatest);
  VakIntRangeI other(nullptr, Least, 0);
  VakIntRangeI swapped(nullptr, Greatest, Least);
  EXPECT_EQ(VakIntDomainCompFunction(&range, &same), 1);
  EXPECT_EQ(VakIntDomainCompFunction(&range, &other), 0);
  EXPECT_EQ(VakIntDomainCompFunction(&range, &swapped), 0);
}

// ---- Hash ---------------------------------------------------------------------------------------

const std::vector<VakInt>& sizes() {
  static const std::vector<VakInt> all{1, 2, 3, 31, 62, 124, 1000, 65536, 99999989, Greatest};
  return all;
}

TEST(DomainHashFunctions, GiveAnIndexInRangeForEveryBoundAndEverySize) {
  const std::vector<VakInt> integers{Least, -1, 0, 1, 5, Greatest};
  const std::vector<VakNum> numbers{0.0,
                                    -0.0,
                                    1,
                                    -1,
                                    0.1,
                                    VakGetInfinity(),
                                    -VakGetInfinity(),
                                    QuietNaN,
                                    oddNaN(),
                                    std::numeric_limits<VakNum>::max(),
                                    std::numeric_limits<VakNum>::denorm_min()};
  for (const VakInt size : sizes()) {
    for (const VakInt lb : integers) {
      for (const VakInt ub : integers) {
        VakIntRangeI range(nullptr, lb, ub);
        const VakInt index = VakIntDomainHashFunction(&range, size);
        EXPECT_TRUE(index >= 0 && index < size) << lb << ' ' << ub << ' ' << size;
      }
    }
    for (const VakNum lb : numbers) {
      for (const VakNum ub : numbers) {
        VakNumRangeI range(nullptr, lb, ub);
        const VakInt index = VakNumDomainHashFunction(&range, size);
        EXPECT_TRUE(index >= 0 && index < size) << lb << ' ' << ub << ' ' << size;
      }
    }
  }
}

TEST(DomainHashFunctions, GiveEqualRangesTheSameIndex) {
  for (const VakInt size : sizes()) {
    VakNumRangeI zeroes(nullptr, 0.0, -0.0);
    VakNumRangeI otherZeroes(nullptr, -0.0, 0.0);
    EXPECT_EQ(VakNumDomainHashFunction(&zeroes, size),
              VakNumDomainHashFunction(&otherZeroes, size));
    VakNumRangeI nans(nullptr, QuietNaN, oddNaN());
    VakNumRangeI otherNans(nullptr, -QuietNaN, QuietNaN);
    EXPECT_EQ(VakNumDomainHashFunction(&nans, size), VakNumDomainHashFunction(&otherNans, size));
    VakIntRangeI integers(nullptr, 3, 4);
    VakIntRangeI otherIntegers(nullptr, 3, 4);
    EXPECT_EQ(VakIntDomainHashFunction(&integers, size),
              VakIntDomainHashFunction(&otherIntegers, size));
  }
}

TEST(DomainHashFunctions, SpreadNeighbouringBoundsOverTheBuckets) {
  constexpr VakInt Size = 62;
  std::set<VakInt> integerBuckets;
  std::set<VakInt> numberBuckets;
  std::set<VakInt> powerBuckets;
  VakNum power = 1;
  for (VakInt i = 0; i < 200; ++i, power *= 2) {
    VakIntRangeI integers(nullptr, 0, i);
    VakNumRangeI numbers(nullptr, 0, static_cast<VakNum>(i));
    VakNumRangeI powers(nullptr, 0, power);
    integerBuckets.insert(VakIntDomainHashFunction(&integers, Size));
    numberBuckets.insert(VakNumDomainHashFunction(&numbers, Size));
    powerBuckets.insert(VakNumDomainHashFunction(&powers, Size));
  }
  // 200 independent throws at 62 buckets leave 2 or 3 of them empty.
  EXPECT_GE(integerBuckets.size(), 54U);
  EXPECT_GE(numberBuckets.size(), 54U);
  EXPECT_GE(powerBuckets.size(), 54U);
}

}  // namespace
