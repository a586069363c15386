// Domains of decision variables.

#include "vakmodel/domains/var_domain.h"

#include <gtest/gtest.h>

#include <limits>

#include "tests/support/scoped_env.h"
#include "vakbase/globals.h"
#include "vakenv/core/create.h"

namespace {

constexpr VakNum QuietNaN = std::numeric_limits<VakNum>::quiet_NaN();
constexpr VakInt Least = std::numeric_limits<VakInt>::min();
constexpr VakInt Greatest = std::numeric_limits<VakInt>::max();

TEST(NumVarDomain, ContainsTheNumbersBetweenItsBounds) {
  const VakNumVarDomainI domain(nullptr, -0.5, VakGetInfinity());
  EXPECT_EQ(domain.getLB(), -0.5);
  EXPECT_EQ(domain.getUB(), VakGetInfinity());
  EXPECT_TRUE(domain.contains(-0.5));
  EXPECT_TRUE(domain.contains(1e300));
  EXPECT_TRUE(domain.contains(VakGetInfinity()));
  EXPECT_FALSE(domain.contains(-0.6));
  EXPECT_FALSE(domain.contains(QuietNaN));
}

TEST(NumVarDomain, IsEmptyWhenTheLowerBoundIsAboveTheUpperOne) {
  const VakNumVarDomainI domain(nullptr, 1, 0);
  EXPECT_FALSE(domain.contains(0.5));
}

TEST(IntVarDomain, ContainsTheIntegersBetweenItsBounds) {
  const VakIntVarDomainI domain(nullptr, -2, 5, 0);
  EXPECT_EQ(domain.getIntLB(), -2);
  EXPECT_EQ(domain.getIntUB(), 5);
  EXPECT_EQ(domain.getLB(), -2.0);
  EXPECT_EQ(domain.getUB(), 5.0);
  EXPECT_TRUE(domain.contains(-2));
  EXPECT_TRUE(domain.contains(-0.0));
  EXPECT_TRUE(domain.contains(5));
  EXPECT_FALSE(domain.contains(6));
  EXPECT_FALSE(domain.contains(0.5));
  EXPECT_FALSE(domain.contains(QuietNaN));
  EXPECT_FALSE(domain.contains(VakGetInfinity()));
}

TEST(IntVarDomain, ReachesToTheEndsOfTheIntegers) {
  const VakIntVarDomainI domain(nullptr, Least, Greatest, 0);
  EXPECT_TRUE(domain.contains(-9223372036854775808.0));
  EXPECT_FALSE(domain.contains(9223372036854775808.0));
  EXPECT_FALSE(domain.contains(-9223372036854777856.0));
}

TEST(IntVarDomain, ContainsEveryStepthIntegerFromItsLowerBound) {
  const VakIntVarDomainI domain(nullptr, 2, 11, 3);
  EXPECT_EQ(domain.getStep(), 3);
  EXPECT_TRUE(domain.contains(2));
  EXPECT_TRUE(domain.contains(5));
  EXPECT_TRUE(domain.contains(11));
  EXPECT_FALSE(domain.contains(3));
  EXPECT_FALSE(domain.contains(14));
  const VakIntVarDomainI wide(nullptr, Least, Greatest, 2);
  EXPECT_TRUE(wide.contains(4611686018427387904.0));
  EXPECT_FALSE(wide.contains(1));
}

TEST(BoolVarDomain, ContainsTheTruthValuesBetweenItsBounds) {
  const VakBoolVarDomainI both(nullptr, 0, 1);
  EXPECT_EQ(both.getLB(), 0.0);
  EXPECT_EQ(both.getUB(), 1.0);
  EXPECT_TRUE(both.contains(0));
  EXPECT_TRUE(both.contains(1));
  EXPECT_FALSE(both.contains(2));
  EXPECT_FALSE(both.contains(0.5));
  const VakBoolVarDomainI fixed(nullptr, 1, 1);
  EXPECT_FALSE(fixed.contains(0));
  EXPECT_TRUE(fixed.contains(1));
}

TEST(SharedVarDomain, IsOfItsPlainKindToo) {
  const VakNumSharedVarDomainI numbers(nullptr, 0, 10);
  const VakIntSharedVarDomainI integers(nullptr, 0, 10, 0);
  const VakBoolSharedVarDomainI truths(nullptr, 0, 1);
  EXPECT_EQ(numbers.isType(VakNumVarDomainI::GetTypeInfo()), 1);
  EXPECT_EQ(integers.isType(VakIntVarDomainI::GetTypeInfo()), 1);
  EXPECT_EQ(truths.isType(VakBoolVarDomainI::GetTypeInfo()), 1);
  EXPECT_EQ(truths.isType(VakVarDomainI::GetTypeInfo()), 1);
  EXPECT_EQ(truths.isType(VakIntVarDomainI::GetTypeInfo()), 0);
  EXPECT_STREQ(numbers.getRttiTypeName(), "VakNumSharedVarDomainI");
  EXPECT_STREQ(integers.getRttiTypeName(), "VakIntSharedVarDomainI");
  EXPECT_STREQ(truths.getRttiTypeName(), "VakBoolSharedVarDomainI");
  EXPECT_TRUE(integers.contains(10));
}

TEST(SharedVarDomain, SaysThatItIsShared) {
  EXPECT_TRUE(VakNumSharedVarDomainI(nullptr, 0, 10).isShared());
  EXPECT_TRUE(VakIntSharedVarDomainI(nullptr, 0, 10, 0).isShared());
  EXPECT_TRUE(VakBoolSharedVarDomainI(nullptr, 0, 1).isShared());
  EXPECT_FALSE(VakNumVarDomainI(nullptr, 0, 10).isShared());
  EXPECT_FALSE(VakIntVarDomainI(nullptr, 0, 10, 0).isShared());
  EXPECT_FALSE(VakBoolVarDomainI(nullptr, 0, 1).isShared());
}

TEST(VarDomain, GivesItsMemoryBackWhenDeleted) {
  const VakScopedEnv env;
  const VakInt usage = env.impl()->getMemoryUsage();
  VakVarDomainI* domain = VakCreate<VakIntVarDomainI>(env.impl(), 0L, 5L, 0L);
  EXPECT_EQ(domain->getLB(), 0.0);
  delete domain;
  EXPECT_EQ(env.impl()->getMemoryUsage(), usage);
}

}  // namespace
