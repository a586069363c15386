// Every request for memory fails once, in every operation on properties.

#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <string>

#include "tests/support/checking_allocator.h"
#include "tests/support/checking_local_env.h"
#include "tests/support/displayed.h"
#include "tests/support/environment_mode.h"
#include "tests/support/failing_new.h"
#include "tests/support/property_owners.h"
#include "tests/support/scoped_env.h"
#include "vakenv/properties.h"

namespace {

// ---- Properties and sets ------------------------------------------------------------------------

/// Properties and a set in an environment whose every request can fail. Names are interned before.
class PropertyFaults : public testing::Test {
 protected:
  PropertyFaults() {
    for (const char* name : {"a", "b", "c", "s"}) static_cast<void>(env->intern(name));
  }

  /// Lets each request of `attempt` fail in turn; after a failure and after the success in the end
  /// nothing may be left that was not there before. Returns the number of failures.
  long failEach(const std::function<void()>& attempt) {
    VakCheckedPath path(env.impl());
    const long failures = VakFailEachRequest(path.ledger(), attempt,
                                             [&] { EXPECT_EQ(path.ledger().countBlocks(), 0); });
    EXPECT_EQ(path.ledger().countBlocks(), 0);
    EXPECT_EQ(path.ledger().mismatches, 0);
    return failures;
  }

  VakScopedEnv env;
};

TEST_F(PropertyFaults, LeaveNothingOfAProperty) {
  EXPECT_EQ(failEach([&] { VakNamedIntProperty(env.env, "a", 1).end(); }), 1);
  EXPECT_EQ(failEach([&] { VakNamedStringProperty(env.env, "s", "text").end(); }), 2);
}

TEST_F(PropertyFaults, LeaveNothingOfAClone) {
  const VakNamedStringProperty original(env.env, "s", "text");
  EXPECT_EQ(failEach([&] { original.makeClone(env.env).end(); }), 2);
  EXPECT_STREQ(original.getValue(), "text");
}

TEST_F(PropertyFaults, LeaveASetAsItWasAndThePropertyUnheld) {
  VakNamedPropertySet set(env.env.getMemoryManager());
  const VakNamedIntProperty property(env.env, "a", 1);
  for (const bool checksFirst : {false, true}) {
    const auto add = [&] {
      checksFirst ? set.addProperty(property) : set.fastAdd(property);
      ++property.getImpl()->_holders;
      set.removeProperty("a");
      --property.getImpl()->_holders;
    };
    EXPECT_EQ(failEach(add), 1);
    EXPECT_EQ(set.getImpl()->_first, nullptr);
    EXPECT_EQ(property.getImpl()->_holders, 0);
  }
}

TEST_F(PropertyFaults, LeaveASetAsItWasAndNoCopy) {
  VakNamedPropertySet set(env.env.getMemoryManager());
  set.addProperty(VakNamedIntProperty(env.env, "b", 2));
  const VakNamedStringProperty property(env.env, "s", "text");
  EXPECT_EQ(failEach([&] {
              set.addClonedProperty(property);
              set.removeProperty("s");
            }),
            3);
  EXPECT_TRUE(set.getImpl()->isConsistent());
  EXPECT_TRUE(set.hasProperty("b"));
  EXPECT_FALSE(set.hasProperty("s"));
}

TEST_F(PropertyFaults, LeaveNothingOfADeepCopy) {
  const VakNamedPropertySet set(env.env.getMemoryManager());
  set.addProperty(VakNamedIntProperty(env.env, "a", 1));
  set.addProperty(VakNamedStringProperty(env.env, "s", "text"));
  EXPECT_EQ(failEach([&] { set.makeDeepCopy(env.env).end(); }), 6);
}

TEST_F(PropertyFaults, LeaveOfACloneOfASetNoHalfLinkedEntry) {
  const VakNamedPropertySet set(env.env.getMemoryManager());
  set.addProperty(VakNamedIntProperty(env.env, "a", 1));
  set.addProperty(VakNamedIntProperty(env.env, "b", 2));
  VakCheckedPath path(env.impl());
  long k = 0;
  const auto attempt = [&] { static_cast<void>(set.makeClone(env.env)); };
  // What was cloned so far stays: the set and two blocks for each property that is done.
  const long left[] = {0, 1, 1, 3, 3};
  long before = 0;
  EXPECT_EQ(VakFailEachRequest(path.ledger(), attempt,
                               [&] {
                                 EXPECT_EQ(path.ledger().countBlocks() - before, left[k]);
                                 before = path.ledger().countBlocks();
                                 ++k;
                               }),
            5);
  EXPECT_EQ(path.ledger().mismatches, 0);
}

TEST_F(PropertyFaults, LeaveASetInAManagerOfNoEnvironmentAsItWas) {
  VakCheckingAllocator allocator;
  VakNamedPropertySetI set{VakMemoryManager(&allocator)};
  VakNamedIntProperty property(&allocator, "a", 1);
  const long blocks = allocator.ledger.countBlocks();
  EXPECT_EQ(VakFailEachRequest(
                allocator.ledger,
                [&] {
                  set.addClonedProperty(property.getImpl());
                  set.removeAllProperties();
                },
                [&] {
                  EXPECT_EQ(set._first, nullptr);
                  EXPECT_EQ(allocator.ledger.countBlocks(), blocks);
                }),
            2);
  property.end();
  EXPECT_EQ(allocator.ledger.mismatches, 0);
}

// ---- Owners -------------------------------------------------------------------------------------

template <class Owner>
class OwnerFaults : public testing::Test {
 protected:
  OwnerFaults() {
    for (const char* name : {"a", "s"}) static_cast<void>(holder.env->intern(name));
  }

  /// Lets each request of `attempt` fail in turn. The owner may keep the records that it made, but
  /// has to be as if nothing had been asked for. Returns the number of failures.
  long failEach(const std::function<void()>& attempt) {
    long failures = 0;
    {
      VakCheckedPath path(holder.env.impl());
      failures = VakFailEachRequest(path.ledger(), attempt, [&] {
        EXPECT_EQ(owner()->getName(), nullptr);
        EXPECT_EQ(owner()->getObject(), nullptr);
        EXPECT_EQ(owner()->hasProperty("a"), 0);
        EXPECT_EQ(owner()->hasProperty("s"), 0);
      });
      owner()->setName(nullptr);
      owner()->removeAllProperties();
      // The extension, its object extension and nothing else.
      EXPECT_LE(path.ledger().countBlocks(), 2);
      EXPECT_EQ(path.ledger().mismatches, 0);
    }
    return failures;
  }
  [[nodiscard]] auto* owner() { return holder.owner; }
  [[nodiscard]] VakEnv env() const { return holder.env.env; }

  Owner holder;
};

TYPED_TEST_SUITE(OwnerFaults, VakPropertyOwners, VakPropertyOwnerName);

// An extension, once made, is kept, so each of the requests is reached in one run.

TYPED_TEST(OwnerFaults, LeaveNoName) {
  EXPECT_GE(this->failEach([&] { this->owner()->setName("name"); }), 1);
}

TYPED_TEST(OwnerFaults, LeaveNoObject) {
  EXPECT_GE(this->failEach([&] { this->owner()->setObject(this); }), 1);
  EXPECT_EQ(this->owner()->getObject(), this);
}

TYPED_TEST(OwnerFaults, LeaveASetThatCouldNotBeTakenOverToTheCaller) {
  const VakNamedPropertySet set(this->env().getMemoryManager());
  EXPECT_GE(this->failEach([&] {
    this->owner()->setProperties(set.getImpl());
    EXPECT_EQ(this->owner()->getProperties(), set.getImpl());
  }),
            1);
}

TYPED_TEST(OwnerFaults, LeaveAPropertyUnheld) {
  VakNamedIntProperty property(this->env(), "a", 1);
  EXPECT_GE(this->failEach([&] {
    EXPECT_EQ(property.getImpl()->_holders, 0);
    this->owner()->addProperty(property.getImpl());
  }),
            1);
}

TYPED_TEST(OwnerFaults, LeaveNoCopyOfAProperty) {
  VakNamedStringProperty property(this->env(), "s", "text");
  EXPECT_GE(this->failEach([&] { this->owner()->addClonedProperty(property.getImpl()); }), 3);
}

TYPED_TEST(OwnerFaults, LeaveNoFreshPropertyOfATypedSetter) {
  EXPECT_GE(this->failEach([&] { this->owner()->setStringProperty("s", "text"); }), 3);
  EXPECT_GE(this->failEach([&] { this->owner()->setIntProperty("a", 1); }), 2);
}

TYPED_TEST(OwnerFaults, LeaveTheCopiesOfASetThatWereMadeBefore) {
  const VakNamedPropertySet set(this->env().getMemoryManager());
  set.addProperty(VakNamedIntProperty(this->env(), "a", 1));
  set.addProperty(VakNamedStringProperty(this->env(), "s", "text"));
  this->owner()->addProperty(VakNamedIntProperty(this->env(), "b", 1).getImpl());
  VakCheckedPath path(this->env().getImpl());
  path.ledger().failAt = 4;
  EXPECT_THROW(this->owner()->addProperties(set.getImpl()), std::bad_alloc);
  EXPECT_EQ(this->owner()->hasProperty("s"), 1);
  EXPECT_EQ(this->owner()->hasProperty("a"), 0);
  this->owner()->removeAllProperties();
  EXPECT_EQ(path.ledger().countBlocks(), 0);
  EXPECT_EQ(path.ledger().mismatches, 0);
}

// ---- Interned names -----------------------------------------------------------------------------

TEST(PropertyFaultsOfTheHeap, LeaveTheEnvironmentUsable) {
  VakUseUnpooledMemory();
  const VakScopedEnv env;
  const VakInt usage = env.impl()->getMemoryUsage();
  long k = 0;
  const long failures = VakFailEachNew(
      [&] {
        const std::string name = "name" + std::to_string(k++);
        env.env.setStringProperty(name.c_str(), "a text");
      },
      [&](const std::exception_ptr& thrown) {
        EXPECT_TRUE(VakIsException<std::bad_alloc>(thrown));
        EXPECT_TRUE(env.env.getProperties().getImpl() == nullptr ||
                    env.env.getProperties().getImpl()->_first == nullptr);
      });
  EXPECT_GE(failures, 6);
  EXPECT_GT(env.impl()->getMemoryUsage(), usage);
  EXPECT_STREQ(env.env.getStringProperty(("name" + std::to_string(k - 1)).c_str()), "a text");
}

}  // namespace
