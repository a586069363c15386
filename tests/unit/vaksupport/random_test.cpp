#include "vaksupport/random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

#include "tests/support/checking_allocator.h"
#include "vakbase/exception.h"
#include "vakenv/memory/create.h"

namespace {

/// A generator of seed 0 in the memory of a checking allocator.
struct Generator {
  Generator() = default;
  ~Generator() { delete random; }
  Generator(const Generator&) = delete;
  Generator& operator=(const Generator&) = delete;

  VakUniqueRandomI* operator->() const { return random; }

  VakCheckingAllocator allocator;
  VakUniqueRandomI* random = VakCreate<VakUniqueRandomI>(&allocator, 0);
};

TEST(VakUniqueRandom, GivesItsMemoryBackToItsAllocator) {
  Generator random;
  const VakCheckingAllocator& allocator = random.allocator;
  EXPECT_EQ(allocator.ledger.countBlocks(), 1);
  delete random.random;
  random.random = nullptr;
  EXPECT_EQ(allocator.ledger.countBlocks(), 0);
  EXPECT_EQ(allocator.ledger.mismatches, 0);
}

TEST(VakUniqueRandom, IsNotMadeWhenThereIsNoMemory) {
  Generator random;
  VakCheckingAllocator& allocator = random.allocator;
  allocator.ledger.failAt = allocator.ledger.requests + 1;
  EXPECT_THROW(static_cast<void>(VakCreate<VakUniqueRandomI>(&allocator, 0)), std::bad_alloc);
  EXPECT_EQ(allocator.ledger.countBlocks(), 1);
}

TEST(VakUniqueRandom, TheSameSeedGivesTheSameNumbersOnEveryMachine) {
  Generator random;
  std::mt19937_64 reference(0);
  for (int i = 0; i < 1000; ++i) EXPECT_EQ((*random.random)(), reference());
  random->reseed(5489);
  for (int i = 1; i < 10000; ++i) static_cast<void>((*random.random)());
  EXPECT_EQ((*random.random)(), 9981545732273789042UL);  // what the standard asks of this generator
}

TEST(VakUniqueRandom, ReseedingStartsAgain) {
  Generator random;
  std::vector<VakNum> first;
  for (int i = 0; i < 10; ++i) first.push_back(random->getNum());
  random->reseed(0);
  for (int i = 0; i < 10; ++i) EXPECT_EQ(random->getNum(), first[static_cast<std::size_t>(i)]);
  random->reseed(-1);
  EXPECT_NE(random->getNum(), first[0]);
}

TEST(VakUniqueRandom, NumbersLieFromZeroToBelowOneAndSpreadEvenly) {
  Generator random;
  constexpr int draws = 100000;
  constexpr int cells = 20;
  std::vector<int> counts(cells);
  for (int i = 0; i < draws; ++i) {
    const VakNum x = random->getNum();
    ASSERT_GE(x, 0.0);
    ASSERT_LT(x, 1.0);
    ++counts[static_cast<std::size_t>(x * cells)];
  }
  for (const int count : counts) EXPECT_NEAR(count, draws / cells, 350);  // five deviations
}

TEST(VakUniqueRandom, IntegersLieBelowTheirBoundAndSpreadEvenly) {
  Generator random;
  constexpr int draws = 70000;
  std::vector<int> counts(7);
  for (int i = 0; i < draws; ++i) {
    const VakInt k = random->getInt(7);
    ASSERT_GE(k, 0);
    ASSERT_LT(k, 7);
    ++counts[static_cast<std::size_t>(k)];
  }
  for (const int count : counts) EXPECT_NEAR(count, draws / 7, 470);  // five deviations
  EXPECT_EQ(random->getInt(1), 0);
}

TEST(VakUniqueRandom, LargeBoundsAreNotDrawnTowardsSmallNumbers) {
  Generator random;
  const VakInt bound = 3 * (VakInt{1} << 61);
  int lowerThird = 0;
  constexpr int draws = 30000;
  for (int i = 0; i < draws; ++i) {
    const VakInt k = random->getInt(bound);
    ASSERT_GE(k, 0);
    ASSERT_LT(k, bound);
    if (k < bound / 3) ++lowerThird;
  }
  EXPECT_NEAR(lowerThird, draws / 3, 410);  // five deviations
}

TEST(VakUniqueRandom, ABoundThatIsNotPositiveIsWrongUsage) {
  Generator random;
  for (const VakInt bound : {VakInt{0}, VakInt{-1}, std::numeric_limits<VakInt>::min()}) {
    try {
      static_cast<void>(random->getInt(bound));
      FAIL() << bound;
    } catch (const VakWrongUsage& e) {
      EXPECT_STREQ(e.getMessage(),
                   "VakUniqueRandomI: the number of integers to draw from must be positive");
    }
  }
}

TEST(VakUniqueRandom, ServesTheStandardAlgorithms) {
  Generator random;
  static_assert(std::uniform_random_bit_generator<VakUniqueRandomI>);
  std::vector<int> numbers(100);
  std::iota(numbers.begin(), numbers.end(), 0);
  std::vector<int> shuffled = numbers;
  std::shuffle(shuffled.begin(), shuffled.end(), *random.random);
  EXPECT_NE(shuffled, numbers);
  std::sort(shuffled.begin(), shuffled.end());
  EXPECT_EQ(shuffled, numbers);
}

TEST(VakUniqueRandom, TakesPartInTheTypeSystem) {
  Generator random;
  EXPECT_STREQ(random->getRttiTypeName(), "VakUniqueRandomI");
  EXPECT_EQ(random->isType(VakRttiMemoryManagerObjectI::GetTypeInfo()), 1);
}

}  // namespace
