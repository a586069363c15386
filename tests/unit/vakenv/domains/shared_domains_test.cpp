// Domains shared by everybody with the same bounds.

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "tests/support/checking_local_env.h"
#include "tests/support/scoped_env.h"
#include "vakbase/globals.h"
#include "vakenv/core/create.h"
#include "vakenv/domains/shared_domain_hash.h"

namespace {

constexpr VakNum QuietNaN = std::numeric_limits<VakNum>::quiet_NaN();

std::string typeOf(const VakVarDomainI* domain) {
  return domain == nullptr ? "null" : domain->getRttiTypeName();
}

/// An environment and its two tables.
class SharedDomains : public testing::Test {
 protected:
  VakVarDomainI* get(VakNum lb, VakNum ub) { return env->getOrMakeSharedDomain(lb, ub); }
  VakVarDomainI* getInt(VakInt lb, VakInt ub) { return env->getOrMakeSharedDomain(lb, ub); }
  VakVarDomainI* get(VakNumRangeI* range) { return env->getOrMakeSharedDomain(range); }
  VakVarDomainI* get(VakIntRangeI* range) { return env->getOrMakeSharedDomain(range); }
  VakNumRangeI* numRange(VakNum lb, VakNum ub) {
    return VakCreate<VakNumRangeI>(env.impl(), lb, ub);
  }
  VakIntRangeI* intRange(VakInt lb, VakInt ub) {
    return VakCreate<VakIntRangeI>(env.impl(), lb, ub);
  }
  [[nodiscard]] VakInt numItems() const { return env.impl()->_numDomains->_nbItems; }
  [[nodiscard]] VakInt intItems() const { return env.impl()->_intDomains->_nbItems; }

  VakScopedEnv env;
};

// ---- Tables -------------------------------------------------------------------------------------

TEST_F(SharedDomains, StartWithTwoEmptyTablesOfThirtyOneBuckets) {
  EXPECT_EQ(numItems(), 0);
  EXPECT_EQ(intItems(), 0);
  EXPECT_EQ(env->_numDomains->_size, 31);
  EXPECT_EQ(env->_intDomains->_size, 31);
  EXPECT_NE(env->_numDomains->_buckets, nullptr);
  EXPECT_NE(env->_intDomains->_buckets, nullptr);
  EXPECT_EQ(env->_numDomains->_hash, &VakNumDomainHashFunction);
  EXPECT_EQ(env->_intDomains->_hash, &VakIntDomainHashFunction);
  EXPECT_EQ(env->_numDomains->_compare, &VakNumDomainCompFunction);
  EXPECT_EQ(env->_intDomains->_compare, &VakIntDomainCompFunction);
}

// ---- Numeric bounds -----------------------------------------------------------------------------

TEST_F(SharedDomains, GiveTheSameDomainForEqualNumericBounds) {
  VakVarDomainI* domain = get(0, 10);
  EXPECT_EQ(typeOf(domain), "VakNumSharedVarDomainI");
  EXPECT_EQ(domain->getLB(), 0.0);
  EXPECT_EQ(domain->getUB(), 10.0);
  EXPECT_EQ(domain->_env, env.impl());
  EXPECT_EQ(get(0, 10), domain);
  EXPECT_NE(get(0, 11), domain);
  EXPECT_NE(get(-1, 10), domain);
  EXPECT_EQ(numItems(), 3);
  EXPECT_EQ(intItems(), 0);
}

TEST_F(SharedDomains, LeaveNoRangeBehindWhenTheBoundsAreKnown) {
  VakVarDomainI* domain = get(0, 10);
  VakVarDomainI* integers = getInt(0, 10);
  const VakInt usage = env->getMemoryUsage();
  EXPECT_EQ(get(0, 10), domain);
  EXPECT_EQ(getInt(0, 10), integers);
  EXPECT_EQ(numItems(), 1);
  EXPECT_EQ(intItems(), 1);
  EXPECT_EQ(env->getMemoryUsage(), usage);
}

TEST_F(SharedDomains, GiveNoDomainForTheDefaultBounds) {
  const VakInt usage = env->getMemoryUsage();
  EXPECT_EQ(get(0.0, VakGetInfinity()), nullptr);
  EXPECT_EQ(get(-0.0, VakGetInfinity()), nullptr);
  EXPECT_EQ(env->getMemoryUsage(), usage);
  VakNumRangeI* range = numRange(0.0, VakGetInfinity());
  EXPECT_EQ(get(range), nullptr);
  EXPECT_EQ(numItems(), 0);
  EXPECT_NE(get(-1, VakGetInfinity()), nullptr);
  EXPECT_NE(get(0, 1e300), nullptr);
  EXPECT_NE(get(-VakGetInfinity(), VakGetInfinity()), nullptr);
}

TEST_F(SharedDomains, TakeZeroesOfBothSignsAndAllNaNsAsEqual) {
  EXPECT_EQ(get(-0.0, 5), get(0.0, 5));
  EXPECT_EQ(get(1, QuietNaN), get(1, -QuietNaN));
  EXPECT_EQ(get(QuietNaN, QuietNaN), get(QuietNaN, QuietNaN));
  EXPECT_EQ(numItems(), 3);
}

TEST_F(SharedDomains, GiveDomainsForBoundsThatExcludeEachOther) {
  VakVarDomainI* empty = get(5, 1);
  EXPECT_EQ(get(5, 1), empty);
  EXPECT_NE(get(1, 5), empty);
}

// ---- Ranges -------------------------------------------------------------------------------------

TEST_F(SharedDomains, GiveBoundsAndRangesTheSameDomain) {
  EXPECT_EQ(get(numRange(0, 10)), get(0, 10));
  EXPECT_EQ(get(1, 10), get(numRange(1, 10)));
  EXPECT_EQ(get(intRange(0, 10)), getInt(0, 10));
  EXPECT_EQ(getInt(1, 10), get(intRange(1, 10)));
  EXPECT_EQ(numItems(), 2);
  EXPECT_EQ(intItems(), 2);
}

TEST_F(SharedDomains, KeepAKeyOfTheirOwnSoThatTheCallersRangeMayGo) {
  VakNumRangeI* numbers = numRange(2, 3);
  VakIntRangeI* integers = intRange(2, 3);
  VakVarDomainI* numDomain = get(numbers);
  VakVarDomainI* intDomain = get(integers);
  delete numbers;
  delete integers;
  EXPECT_EQ(get(2, 3), numDomain);
  EXPECT_EQ(getInt(2, 3), intDomain);
}

TEST_F(SharedDomains, AskTheCallersRangeForItsKeyOnlyWhenItIsFiled) {
  struct Counting : VakNumRangeI {
    using VakNumRangeI::VakNumRangeI;
    VakNumRangeI* makeKey(VakEnvI* environment) const override {
      ++calls;
      return VakNumRangeI::makeKey(environment);
    }
    mutable long calls = 0;
  };
  Counting range(env.impl(), 4, 5);
  VakVarDomainI* domain = get(&range);
  EXPECT_EQ(range.calls, 1);
  EXPECT_EQ(get(&range), domain);
  EXPECT_EQ(range.calls, 1);
}

TEST_F(SharedDomains, KeepTheKeyOfARangeOfAnotherEnvironmentInTheirOwn) {
  VakScopedEnv other;
  auto* range = VakCreate<VakIntRangeI>(other.impl(), 2L, 3L);
  VakVarDomainI* domain = get(range);
  other.env.end();
  EXPECT_EQ(domain->_env, env.impl());
  EXPECT_EQ(getInt(2, 3), domain);
}

// ---- Integer bounds -----------------------------------------------------------------------------

TEST_F(SharedDomains, GiveABooleanDomainForExactlyZeroAndOne) {
  VakVarDomainI* domain = getInt(0, 1);
  EXPECT_EQ(typeOf(domain), "VakBoolSharedVarDomainI");
  EXPECT_EQ(getInt(0, 1), domain);
  EXPECT_EQ(get(intRange(0, 1)), domain);
  EXPECT_EQ(typeOf(getInt(0, 2)), "VakIntSharedVarDomainI");
  EXPECT_EQ(typeOf(getInt(1, 1)), "VakIntSharedVarDomainI");
  EXPECT_EQ(typeOf(getInt(0, 0)), "VakIntSharedVarDomainI");
  EXPECT_EQ(typeOf(get(0, 1)), "VakNumSharedVarDomainI");
}

TEST_F(SharedDomains, GiveABooleanDomainForARangeOfZeroAndOneThatComesFirst) {
  EXPECT_EQ(typeOf(get(intRange(0, 1))), "VakBoolSharedVarDomainI");
  EXPECT_EQ(typeOf(get(intRange(0, 2))), "VakIntSharedVarDomainI");
}

TEST_F(SharedDomains, GiveADomainForAllIntegerBounds) {
  const VakInt greatest = std::numeric_limits<VakInt>::max();
  const auto* domain = static_cast<VakIntVarDomainI*>(getInt(0, greatest));
  ASSERT_EQ(typeOf(domain), "VakIntSharedVarDomainI");
  EXPECT_EQ(domain->getIntLB(), 0);
  EXPECT_EQ(domain->getIntUB(), greatest);
  EXPECT_EQ(domain->getStep(), 0);
  EXPECT_NE(getInt(std::numeric_limits<VakInt>::min(), greatest), domain);
}

// ---- With a local environment -------------------------------------------------------------------

TEST_F(SharedDomains, ShareNothingWhileALocalEnvironmentIsInstalled) {
  VakVarDomainI* shared = get(0, 10);
  const VakInt items = numItems();
  const VakCheckedPath path(env.impl());
  VakVarDomainI* first = get(0, 10);
  VakVarDomainI* second = get(0, 10);
  EXPECT_NE(first, second);
  EXPECT_NE(first, shared);
  EXPECT_EQ(typeOf(first), "VakNumVarDomainI");
  EXPECT_FALSE(first->isShared());
  VakIntVarDomainI* integers = static_cast<VakIntVarDomainI*>(getInt(0, 2));
  EXPECT_EQ(typeOf(integers), "VakIntVarDomainI");
  EXPECT_EQ(integers->getStep(), 0);
  EXPECT_NE(getInt(0, 2), integers);
  EXPECT_EQ(typeOf(getInt(0, 1)), "VakBoolVarDomainI");
  VakIntRangeI* truths = intRange(0, 1);
  EXPECT_EQ(typeOf(get(truths)), "VakBoolVarDomainI");
  EXPECT_NE(get(truths), get(truths));
  EXPECT_EQ(typeOf(get(intRange(3, 4))), "VakIntVarDomainI");
  EXPECT_EQ(typeOf(get(numRange(3, 4))), "VakNumVarDomainI");
  EXPECT_EQ(numItems(), items);
  EXPECT_EQ(intItems(), 0);
}

TEST_F(SharedDomains, TellTheDefaultBoundsApartFromADefaultRangeWhileALocalEnvironmentIsInstalled) {
  const VakCheckedPath path(env.impl());
  EXPECT_EQ(get(0.0, VakGetInfinity()), nullptr);
  EXPECT_EQ(typeOf(get(numRange(0.0, VakGetInfinity()))), "VakNumVarDomainI");
}

// ---- Many bounds --------------------------------------------------------------------------------

TEST_F(SharedDomains, GrowTheirTableAndGiveTwoHundredDomainsForAThousandRequests) {
  std::mt19937 random(7);
  std::map<std::pair<VakInt, VakInt>, VakVarDomainI*> numbers;
  std::map<std::pair<VakInt, VakInt>, VakVarDomainI*> integers;
  std::vector<VakInt> sizes{31};
  for (int i = 0; i < 1000; ++i) {
    const VakInt which = i < 200 ? i : static_cast<VakInt>(random() % 200);
    const std::pair<VakInt, VakInt> bounds(which % 14, which / 14 + 20);
    const auto lb = static_cast<VakNum>(bounds.first);
    const auto ub = static_cast<VakNum>(bounds.second);
    VakVarDomainI* number = i % 2 == 0 ? get(lb, ub) : get(numRange(lb, ub));
    VakVarDomainI* integer = i % 2 == 0 ? get(intRange(bounds.first, bounds.second))
                                        : getInt(bounds.first, bounds.second);
    EXPECT_EQ(numbers.emplace(bounds, number).first->second, number);
    EXPECT_EQ(integers.emplace(bounds, integer).first->second, integer);
    EXPECT_EQ(number->getLB(), lb);
    EXPECT_EQ(integer->getUB(), ub);
    EXPECT_EQ(numItems(), static_cast<VakInt>(numbers.size()));
    EXPECT_LE(numItems(), 2 * env->_numDomains->_size);
    if (env->_numDomains->_size != sizes.back()) sizes.push_back(env->_numDomains->_size);
  }
  EXPECT_EQ(numItems(), 200);
  EXPECT_EQ(intItems(), 200);
  EXPECT_EQ(sizes, (std::vector<VakInt>{31, 62, 124}));
  EXPECT_EQ(env->_intDomains->_size, 124);
  std::set<VakVarDomainI*> distinct;
  for (const auto& [bounds, domain] : numbers) distinct.insert(domain);
  for (const auto& [bounds, domain] : integers) distinct.insert(domain);
  EXPECT_EQ(distinct.size(), 400U);
  EXPECT_EQ(env->_numDomains->check(), "");
  EXPECT_EQ(env->_intDomains->check(), "");
}

}  // namespace
