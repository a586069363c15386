// Properties whose destructors look back at their owner, and sets that share them.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <iterator>
#include <limits>
#include <ranges>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/support/checking_allocator.h"
#include "tests/support/displayed.h"
#include "tests/support/scoped_env.h"
#include "vakbase/globals.h"
#include "vakenv/core/create.h"
#include "vakenv/domains/shared_domain_hash.h"
#include "vakenv/properties/extensible_object.h"
#include "vakenv/properties/property_set.h"
#include "vakenv/properties/typed_properties.h"
#include "vakenv/types/exceptions.h"

namespace {

using Owner = VakExtensibleRttiMemoryManagerObjectI;

/// Calls back when it is destroyed.
class Hooked : public VakPreNamedPropertyI {
 public:
  Hooked(VakMemoryManager m, const char* name) : VakPreNamedPropertyI(m, name) {}
  ~Hooked() noexcept(false) override {
    if (hook) hook();
  }
  std::function<void()> hook;
};

/// A checking allocator that writes down the sizes asked for.
class Recording : public VakCheckingAllocator {
 public:
  void* alloc(unsigned long size) const override {
    sizes.push_back(size);
    return VakCheckingAllocator::alloc(size);
  }
  mutable std::vector<unsigned long> sizes;
};

}  // namespace

TEST(ExtensibleObject, MakesItsExtensionBeforeItsSetForAFirstProperty) {
  Recording a;
  auto* owner = VakCreate<Owner>(&a);
  VakNamedIntProperty p(&a, "p", 1);
  a.sizes.clear();
  owner->addProperty(p.getImpl());
  const std::vector<unsigned long> expected = {sizeof(VakExtension), sizeof(VakNamedPropertySetI),
                                               sizeof(VakExtension::VakObjectExtension),
                                               sizeof(VakNamedPropertySetI::PropertyList)};
  EXPECT_EQ(a.sizes, expected);
  delete owner;
}

TEST(ExtensibleObject, TakesOverANewSetEvenWhenTheOldOneRefusesToEnd) {
  VakCheckingAllocator a;
  auto* owner = VakCreate<Owner>(&a);
  auto* p = VakCreate<Hooked>(&a, "p");
  p->hook = [] { throw 7; };
  owner->addProperty(p);
  auto* set = VakNamedPropertySet(&a).getImpl();
  EXPECT_THROW(owner->setProperties(set), int);
  EXPECT_EQ(owner->getProperties(), set);
  delete owner;
}

TEST(EnvProperties, GiveTheNameBackWhenAPropertyRefusesToEnd) {
  VakScopedEnv env;
  auto* p = VakCreate<Hooked>(env.env.getMemoryManager(), "p");
  p->hook = [] { throw 7; };
  env.env.setName("name");
  env.env.addProperty(VakNamedProperty(p));
  EXPECT_THROW(env.env.end(), int);
  EXPECT_EQ(env.env.getImpl(), nullptr);
}

TEST(PropertySetHandle, HandsOutARange) {
  EXPECT_TRUE(std::input_iterator<VakNamedPropertySet::Iterator>);
  EXPECT_TRUE(std::ranges::input_range<VakNamedPropertySet::Range>);
}

TEST(PropertySet, DeletesAPropertyOfACloneWithTheLastSetThatHoldsIt) {
  VakScopedEnv env;
  VakNamedPropertySet set(env.env);
  set.addProperty(VakNamedIntProperty(env.env, "a", 1));
  VakNamedPropertySet clone = set.makeClone(env.env);
  VakNamedPropertySet other(env.env);
  VakNamedProperty shared = clone.getProperty("a");
  other.addProperty(shared);
  other.addProperty(VakNamedIntProperty(env.env, "b", 1));
  EXPECT_EQ(shared.getImpl()->_holders, 1);
  other.removeProperty("a");
  EXPECT_EQ(other.hasProperty("a"), false);
  set.end();
  other.end();
}

TEST(ExtensibleObject, KeepsItsObjectWhileItsPropertiesEnd) {
  VakCheckingAllocator a;
  int user = 0;
  auto* owner = VakCreate<Owner>(&a);
  owner->setObject(&user);
  auto* p = VakCreate<Hooked>(&a, "p");
  VakAny seen = nullptr;
  p->hook = [&] { seen = owner->getObject(); };
  owner->addProperty(p);
  delete owner;
  EXPECT_EQ(seen, &user);
}

TEST(ExtensibleObject, GivesBackAPropertyThatIsAddedWhileItEnds) {
  VakCheckingAllocator a;
  auto* owner = VakCreate<Owner>(&a);
  auto* p = VakCreate<Hooked>(&a, "p");
  p->hook = [&] { owner->setIntProperty("late", 1); };
  owner->addProperty(p);
  delete owner;
  EXPECT_EQ(a.ledger.blocks().size(), 0u);
}

TEST(ExtensibleObject, GivesBackAPropertyThatIsAddedWhileAllAreRemoved) {
  VakCheckingAllocator a;
  auto* owner = VakCreate<Owner>(&a);
  auto* p = VakCreate<Hooked>(&a, "p");
  p->hook = [&] { owner->setIntProperty("late", 1); };
  owner->addProperty(p);
  owner->removeAllProperties();
  EXPECT_EQ(owner->hasProperty("p"), 0);
  delete owner;
  EXPECT_EQ(a.ledger.blocks().size(), 0u);
}

TEST(ExtensibleObject, MayRemoveAllWhileAPropertyIsRemoved) {
  VakCheckingAllocator a;
  auto* owner = VakCreate<Owner>(&a);
  auto* p = VakCreate<Hooked>(&a, "p");
  p->hook = [&] { owner->removeAllProperties(); };
  owner->setIntProperty("q", 1);
  owner->addProperty(p);
  owner->removeProperty("p");
  EXPECT_EQ(owner->getProperties(), nullptr);
  delete owner;
  EXPECT_EQ(a.ledger.blocks().size(), 0u);
}

TEST(ExtensibleObject, GivesItsNameBackWhenAPropertyRefusesToEnd) {
  VakCheckingAllocator a;
  VakExtension* slot = nullptr;
  VakExtension::getOrMake(&a, &slot)->setName(&a, "name");
  auto* set = VakCreate<VakNamedPropertySetI>(&a);
  auto* p = VakCreate<Hooked>(&a, "p");
  p->hook = [] { throw 7; };
  set->addProperty(p);
  slot->setObject(&a, &a);
  slot->setProperties(set);
  EXPECT_THROW(slot->end(&a), int);
  slot->end(&a);
  EXPECT_EQ(slot->_name, nullptr);
  EXPECT_EQ(slot->_objectExtension, nullptr);
  a.free(slot, sizeof(VakExtension));
}

TEST(ExtensibleObject, LeavesNothingOfItsExtensionWhenAPropertyRefusesToEnd) {
  VakCheckingAllocator a;
  auto* owner = VakCreate<Owner>(&a);
  owner->setName("name");
  auto* p = VakCreate<Hooked>(&a, "p");
  p->hook = [] { throw 7; };
  owner->addProperty(p);
  const auto before = a.ledger.blocks().size();
  EXPECT_THROW(delete owner, int);
  // Property, set and object themselves stay; entry, name, record and object extension go.
  EXPECT_EQ(a.ledger.blocks().size(), 3u) << "of " << before;
}

TEST(Extension, IsTriviallyDestroyed) {
  EXPECT_TRUE(std::is_trivially_destructible_v<VakExtension>);
  EXPECT_TRUE(std::is_trivially_destructible_v<VakExtension::VakObjectExtension>);
}

TEST(PropertySet, LetsAPropertyRemoveItsNeighbourWhileItGoes) {
  VakCheckingAllocator a;
  auto* set = VakCreate<VakNamedPropertySetI>(&a);
  set->addProperty(VakNamedIntProperty(&a, "a", 1).getImpl());
  auto* p = VakCreate<Hooked>(&a, "p");
  p->hook = [&] { set->removeProperty("a"); };
  set->addProperty(p);
  set->addProperty(VakNamedIntProperty(&a, "c", 1).getImpl());
  set->removeAllProperties();
  EXPECT_EQ(set->_first, nullptr);
  delete set;
  EXPECT_EQ(a.ledger.blocks().size(), 0u);
}

TEST(PropertySet, GoesOnRemovingAfterAPropertyRefusedToEnd) {
  VakCheckingAllocator a;
  auto* set = VakCreate<VakNamedPropertySetI>(&a);
  set->addProperty(VakNamedIntProperty(&a, "a", 1).getImpl());
  auto* p = VakCreate<Hooked>(&a, "p");
  p->hook = [] { throw 7; };
  set->addProperty(p);
  EXPECT_THROW(set->removeAllProperties(), int);
  EXPECT_TRUE(set->isConsistent());
  set->removeAllProperties();
  EXPECT_EQ(set->_first, nullptr);
  delete set;
}

TEST(PropertySet, RemovesAStaleEntryOfACloneOnceItIsTheFirst) {
  VakScopedEnv env;
  VakNamedPropertySet set(env.env);
  for (const char* n : {"a", "b", "c"}) set.addProperty(VakNamedIntProperty(env.env, n, 1));
  VakNamedPropertySet clone = set.makeClone(env.env);
  auto* b = clone.getProperty("b").getImpl();
  clone.removeProperty("b");
  EXPECT_EQ(b->_holders, -1);
  clone.removeProperty("b");
  EXPECT_EQ(b->_holders, -2);
  clone.removeProperty("c");
  clone.removeProperty("b");
  EXPECT_EQ(b->_holders, -3);
  EXPECT_FALSE(clone.hasProperty("b"));
  EXPECT_TRUE(clone.hasProperty("a"));
  clone.end();
  set.end();
}

TEST(PropertySet, SharesAPropertyBetweenTwoOwners) {
  VakScopedEnv env;
  auto* x = VakCreate<VakExtensibleRttiEnvObjectI>(env.impl());
  auto* y = VakCreate<Owner>(env.env.getMemoryManager());
  VakNamedStringProperty p(env.env, "s", "text");
  x->addProperty(p.getImpl());
  y->addProperty(p.getImpl());
  env.env.addProperty(p);
  delete x;
  y->setStringProperty("s", "changed");
  EXPECT_STREQ(env.env.getStringProperty("s"), "changed");
  delete y;
  EXPECT_EQ(p.getImpl()->_holders, 1);
  env.env.removeProperty("s");
}

TEST(PropertySet, AddingAnOwnersOwnSetToItStopsAtTheFirstName) {
  VakScopedEnv env;
  env.env.setIntProperty("a", 1);
  env.env.setIntProperty("b", 2);
  EXPECT_EQ(VakPrintedBy<VakNamedPropertySet::AlreadyPresent>(
                [&] { env.env.addProperties(env.env.getProperties()); }),
            "Named property <b> already present");
  EXPECT_EQ(env.env.getIntProperty("a"), 1);
}

TEST(EnvProperties, LeaveNoPropertyOfAMismatchedTypedSetter) {
  VakScopedEnv env;
  VakScopedEnv other;
  VakNamedPropertySet set(other.env);
  env.env.setProperties(set);
  EXPECT_THROW(env.env.setStringProperty("s", "text"), VakEnvironmentMismatch);
  const VakInt before = env.env.getMemoryUsage();
  EXPECT_THROW(env.env.setStringProperty("s", "text"), VakEnvironmentMismatch);
  EXPECT_EQ(env.env.getMemoryUsage(), before);
  EXPECT_EQ(env.env.hasProperty("s"), 0);
  env.env.end();
}

TEST(EnvProperties, KeepTheValueWhenATypedSetterMeetsAnotherKind) {
  VakScopedEnv env;
  env.env.setIntProperty("n", std::numeric_limits<VakInt>::min());
  EXPECT_EQ(VakPrintedBy<VakNamedPropertySet::BadType>([&] { env.env.setNumProperty("n", 1.0); }),
            "Named property <n> has wrong type");
  EXPECT_EQ(VakPrintedBy<VakNamedPropertySet::BadType>(
                [&] { static_cast<void>(env.env.getProperty<void*>("n")); }),
            "Named property <n> has wrong type");
  EXPECT_EQ(env.env.getIntProperty("n"), std::numeric_limits<VakInt>::min());
}

TEST(EnvProperties, TakeFallbacksOfManyTypes) {
  VakScopedEnv env;
  EXPECT_EQ(env.env.getProperty("x", 3), 3);
  EXPECT_EQ(env.env.getProperty("x", 3u), 3);
  EXPECT_EQ(env.env.getProperty("x", 2.5f), 2.5);
  EXPECT_STREQ(env.env.getProperty("x", "y"), "y");
  EXPECT_THROW(static_cast<void>(VakEnv(nullptr).getProperty<double>(nullptr)),
               VakEmptyHandleException);
}

TEST(EnvProperties, LeaveAnEmptySetBehindAFailedInsertion) {
  VakScopedEnv env;
  VakScopedEnv other;
  VakNamedIntProperty p(other.env, "p", 1);
  EXPECT_THROW(env.env.addProperty(p), VakEnvironmentMismatch);
  ASSERT_NE(env.env.getProperties().getImpl(), nullptr);
  EXPECT_EQ(env.env.getProperties().getImpl()->_first, nullptr);
  p.end();
}

TEST(EnvProperties, SurviveAPropertyWithoutANameInTheSetTheyAreCopiedFrom) {
  VakScopedEnv env;
  VakNamedPropertySet set(env.env);
  set.addProperty(VakNamedIntProperty(env.env, nullptr, 1));
  set.addProperty(VakNamedIntProperty(env.env, nullptr, 2));
  env.env.addProperties(set);
  std::ostringstream out;
  for (VakNamedProperty p : env.env.getProperties().all()) out << p << ';';
  EXPECT_EQ(out.str(), " (1); (2);");
  set.end();
}

TEST(NamedProperty, KeepsTheStreamsOwnFormatting) {
  VakScopedEnv env;
  VakNamedIntProperty p(env.env, "n", 255);
  VakNamedNumProperty q(env.env, "q", 0.125);
  std::ostringstream out;
  out << std::hex << p << std::scientific << q;
  EXPECT_EQ(out.str(), "n (ff)q (1.250000e-01)");
  p.end();
  q.end();
}

TEST(NamedProperty, SetsAStringToATailOfItself) {
  VakScopedEnv env;
  env.env.setStringProperty("s", "abcdef");
  env.env.setStringProperty("s", env.env.getStringProperty("s") + 6);
  EXPECT_STREQ(env.env.getStringProperty("s"), "");
  env.env.setName("abcdef");
  env.env.setName(env.env.getName() + 3);
  EXPECT_STREQ(env.env.getName(), "def");
}

namespace {

/// A range whose key has other bounds.
class OddRange : public VakIntRangeI {
 public:
  using VakIntRangeI::VakIntRangeI;
  VakIntRangeI* makeKey(VakEnvI* env) const override {
    return VakCreate<VakIntRangeI>(env, 5L, 6L);
  }
};

}  // namespace

TEST(SharedDomains, HaveTheBoundsOfTheCallersRange) {
  VakScopedEnv env;
  OddRange r(env.impl(), 0, 1);
  VakVarDomainI* d = env->getOrMakeSharedDomain(&r);
  EXPECT_EQ(d->getUB(), 1.0);
  EXPECT_NE(d->isType(VakBoolVarDomainI::GetTypeInfo()), 0);
  env.env.end();  // The range made a key with other bounds, which the check at the end refuses.
}

TEST(SharedDomains, HashEveryBoundIntoEverySize) {
  VakScopedEnv env;
  const double inf = std::numeric_limits<double>::infinity();
  const double bounds[] = {0.0, -0.0, inf, -inf, std::nan("1"), -std::nan("2"), 5e-324, 1.7e308};
  const long ints[] = {0, -1, 1, std::numeric_limits<long>::min(),
                       std::numeric_limits<long>::max()};
  for (VakInt size : {VakInt{1}, VakInt{2}, VakInt{31}, std::numeric_limits<VakInt>::max()}) {
    for (double lb : bounds) {
      for (double ub : bounds) {
        VakNumRangeI r(env.impl(), lb, ub);
        const VakInt h = VakNumDomainHashFunction(&r, size);
        EXPECT_TRUE(h >= 0 && h < size);
      }
    }
    for (long lb : ints) {
      for (long ub : ints) {
        VakIntRangeI r(env.impl(), lb, ub);
        const VakInt h = VakIntDomainHashFunction(&r, size);
        EXPECT_TRUE(h >= 0 && h < size);
      }
    }
  }
  EXPECT_EQ(env->getOrMakeSharedDomain(-0.0, VakGetInfinity()), nullptr);
}

TEST(SharedDomains, TellSwappedBoundsApart) {
  VakScopedEnv env;
  VakIntRangeI a(env.impl(), 1, 0);
  EXPECT_NE(env->getOrMakeSharedDomain(0L, 1L), env->getOrMakeSharedDomain(&a));
  EXPECT_EQ(env->getOrMakeSharedDomain(1L, 0L), env->getOrMakeSharedDomain(&a));
  EXPECT_NE(env->getOrMakeSharedDomain(1L, 0L)->isType(VakIntSharedVarDomainI::GetTypeInfo()), 0);
}
