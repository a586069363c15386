#include "vaksupport/typed_list_manager.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "tests/support/checking_local_env.h"
#include "tests/support/scoped_env.h"
#include "vakenv/core/create.h"
#include "vakmodel/contract/extractable.h"

namespace {

/// An extractable with nothing in it.
class Thing : public VakExtractableI {
  VAK_RTTI(Thing, VakExtractableI);

  explicit Thing(VakEnvI* env) : VakExtractableI(env) {}
  VakExtractableI* makeClone(VakEnvI* env) const override { return VakCreate<Thing>(env); }
};
class Wheel : public Thing {
  VAK_RTTI(Wheel, Thing);

  explicit Wheel(VakEnvI* env) : Thing(env) {}
};
class Rope : public Thing {
  VAK_RTTI(Rope, Thing);

  explicit Rope(VakEnvI* env) : Thing(env) {}
};

using Walk = VakTypedListManager::Iterator;

/// A manager of its own beside an environment whose own one is off.
class VakTypedListManagerTest : public testing::Test {
 public:
  VakTypedListManagerTest() { lists.switchOn(env.impl()); }
  ~VakTypedListManagerTest() override {
    EXPECT_EQ(lists.check(), "");
    lists.end(env.impl());
    for (VakExtractableI* e : made) delete e;
  }

  template <class T>
  T* make() {
    T* e = VakCreate<T>(env.impl());
    made.push_back(e);
    return e;
  }
  template <class T>
  T* add() {
    T* e = make<T>();
    lists.add(e);
    return e;
  }
  std::vector<VakExtractableI*> walk(VakTypeInfo type) const {
    std::vector<VakExtractableI*> visited;
    for (Walk i(lists, type); i.ok(); ++i) visited.push_back(*i);
    return visited;
  }

  VakScopedEnv env;
  VakTypedListManager lists;
  std::vector<VakExtractableI*> made;
};

using Extractables = std::vector<VakExtractableI*>;

TEST(VakTypedListManager, IsOffAtFirstAndKeepsNothingThen) {
  VakTypedListManager lists;
  EXPECT_FALSE(lists.isOn());
  EXPECT_EQ(lists._lists, nullptr);
  EXPECT_EQ(lists.count(Thing::GetTypeInfo()), 0);
  EXPECT_FALSE(Walk(lists, Thing::GetTypeInfo()).ok());
  lists.remove(nullptr);
  lists.end(nullptr);
  EXPECT_EQ(lists.check(), "");
}

TEST_F(VakTypedListManagerTest, SwitchingOnAgainKeepsTheLists) {
  add<Thing>();
  auto* before = lists._lists;
  lists.switchOn(env.impl());
  EXPECT_EQ(lists._lists, before);
  EXPECT_EQ(lists.count(Thing::GetTypeInfo()), 1);
}

TEST_F(VakTypedListManagerTest, CountsAClassWithItsDescendants) {
  add<Wheel>();
  add<Rope>();
  add<Wheel>();
  add<Thing>();
  EXPECT_EQ(lists.count(Wheel::GetTypeInfo()), 2);
  EXPECT_EQ(lists.count(Rope::GetTypeInfo()), 1);
  EXPECT_EQ(lists.count(Thing::GetTypeInfo()), 4);
  EXPECT_EQ(lists.count(VakExtractableI::GetTypeInfo()), 4);
  EXPECT_EQ(lists.count(VakRtti::GetTypeInfo()), 4);
  EXPECT_EQ(lists.count(VakGenAlloc::GetTypeInfo()), 0);
}

TEST_F(VakTypedListManagerTest, WalksTheLastSeenClassFirstAndEachClassNewestFirst) {
  Wheel* w1 = add<Wheel>();
  Rope* r1 = add<Rope>();
  Wheel* w2 = add<Wheel>();
  Rope* r2 = add<Rope>();
  EXPECT_EQ(walk(Thing::GetTypeInfo()), (Extractables{r2, r1, w2, w1}));
  EXPECT_EQ(walk(Wheel::GetTypeInfo()), (Extractables{w2, w1}));
  Wheel* w3 = add<Wheel>();
  EXPECT_EQ(walk(Wheel::GetTypeInfo()), (Extractables{w3, w2, w1}));
}

TEST_F(VakTypedListManagerTest, AddingAgainChangesNothing) {
  Wheel* w = add<Wheel>();
  lists.add(w);
  EXPECT_EQ(lists.count(Wheel::GetTypeInfo()), 1);
  lists.add(w);
  EXPECT_EQ(lists.count(Wheel::GetTypeInfo()), 1);
}

TEST_F(VakTypedListManagerTest, RemovingIgnoresTheAbsent) {
  Wheel* w = add<Wheel>();
  lists.remove(make<Wheel>());
  lists.remove(nullptr);
  EXPECT_EQ(lists.count(Wheel::GetTypeInfo()), 1);
  lists.remove(w);
  lists.remove(w);
  EXPECT_EQ(lists.count(Wheel::GetTypeInfo()), 0);
}

TEST_F(VakTypedListManagerTest, AnEntryCanGoBeforeAnybodyAskedForItsClass) {
  Wheel* w1 = add<Wheel>();
  Wheel* w2 = add<Wheel>();
  Wheel* w3 = add<Wheel>();
  lists.remove(w2);
  EXPECT_EQ(walk(Wheel::GetTypeInfo()), (Extractables{w3, w1}));
}

TEST_F(VakTypedListManagerTest, NeverAsksForATypeIndex) {
  add<Rope>();
  EXPECT_EQ(lists.count(Thing::GetTypeInfo()), 1);
  EXPECT_EQ(Rope::_rttiIndex, 0);
  EXPECT_EQ(Thing::_rttiIndex, 0);
}

TEST_F(VakTypedListManagerTest, AWalkSurvivesTheRemovalOfThePresentAndTheNext) {
  Wheel* w1 = add<Wheel>();
  Wheel* w2 = add<Wheel>();
  Wheel* w3 = add<Wheel>();
  Wheel* w4 = add<Wheel>();
  Walk i(lists, Wheel::GetTypeInfo());
  EXPECT_EQ(*i, w4);
  lists.remove(w4);
  lists.remove(w3);
  EXPECT_EQ(*i, w4);
  ++i;
  EXPECT_EQ(*i, w2);
  lists.remove(w1);
  ++i;
  EXPECT_FALSE(i.ok());
  ++i;
  EXPECT_FALSE(i.ok());
}

TEST_F(VakTypedListManagerTest, AWalkWhoseNextIsRemovedGoesOnInTheNextClass) {
  Rope* r = add<Rope>();
  Wheel* w1 = add<Wheel>();
  Wheel* w2 = add<Wheel>();
  Walk i(lists, Thing::GetTypeInfo());
  EXPECT_EQ(*i, w2);
  lists.remove(w1);
  ++i;
  EXPECT_EQ(*i, r);
}

TEST_F(VakTypedListManagerTest, AWalkSurvivesAdditionsAndOtherWalks) {
  Wheel* w = add<Wheel>();
  Rope* r = add<Rope>();
  Extractables visited;
  for (Walk i(lists, Thing::GetTypeInfo()); i.ok(); ++i) {
    visited.push_back(*i);
    add<Wheel>();
    EXPECT_EQ(walk(Wheel::GetTypeInfo()).size(), 1 + visited.size());
  }
  EXPECT_EQ(visited.front(), r);
  EXPECT_EQ(std::count(visited.begin(), visited.end(), w), 1);
}

TEST_F(VakTypedListManagerTest, AWalkIsOverWhenTheListsEnd) {
  Wheel* w = add<Wheel>();
  add<Wheel>();
  Walk i(lists, Wheel::GetTypeInfo());
  lists.end(env.impl());
  EXPECT_FALSE(lists.isOn());
  ++i;
  EXPECT_FALSE(i.ok());
  lists.switchOn(env.impl());
  EXPECT_EQ(lists.count(Wheel::GetTypeInfo()), 0);
  lists.add(w);
  EXPECT_EQ(lists.count(Wheel::GetTypeInfo()), 1);
}

TEST_F(VakTypedListManagerTest, AWholeClassCanBeRemovedWhileItIsWalked) {
  for (int k = 0; k < 100; ++k) add<Wheel>();
  int visits = 0;
  for (Walk i(lists, Wheel::GetTypeInfo()); i.ok(); ++i) {
    lists.remove(*i);
    ++visits;
  }
  EXPECT_EQ(visits, 100);
  EXPECT_EQ(lists.count(Wheel::GetTypeInfo()), 0);
}

TEST_F(VakTypedListManagerTest, GivesAllMemoryBackWithItsSizes) {
  VakCheckedPath path(env.impl());
  Extractables things;
  for (int k = 0; k < 25; ++k) {
    things.push_back(make<Wheel>());
    things.push_back(make<Rope>());
  }
  VakTypedListManager other;
  const long before = path.ledger().countBlocks();
  other.switchOn(env.impl());
  for (VakExtractableI* e : things) other.add(e);
  EXPECT_EQ(other.count(Wheel::GetTypeInfo()), 25);
  for (int k = 0; k < 10; ++k) other.remove(things[static_cast<std::size_t>(k)]);
  other.end(env.impl());
  EXPECT_EQ(path.ledger().countBlocks(), before);
  EXPECT_EQ(path.ledger().mismatches, 0);
}

TEST_F(VakTypedListManagerTest, WhicheverAllocationFailsTheListsAreAsBefore) {
  VakCheckedPath path(env.impl());
  VakBlockLedger& ledger = path.ledger();
  Wheel* first = add<Wheel>();
  EXPECT_EQ(lists.count(Thing::GetTypeInfo()), 1);
  Rope* late = make<Rope>();
  int failures = 0;
  const auto failing = [&](long failAt, auto operation) {
    ledger.requests = 0;
    ledger.failAt = failAt;
    try {
      operation();
      ledger.failAt = 0;
      return false;
    } catch (const std::bad_alloc&) {
      ledger.failAt = 0;
      ++failures;
      return true;
    }
  };
  for (long k = 1; failing(k, [&] { lists.add(late); }); ++k) {
    EXPECT_EQ(lists.check(), "");
    EXPECT_EQ(walk(Thing::GetTypeInfo()), (Extractables{first}));
  }
  for (long k = 1; failing(k, [&] { static_cast<void>(lists.count(Rope::GetTypeInfo())); }); ++k) {
    EXPECT_EQ(lists.check(), "");
  }
  EXPECT_EQ(failures, 4);
  EXPECT_EQ(walk(Thing::GetTypeInfo()), (Extractables{late, first}));
  EXPECT_EQ(ledger.mismatches, 0);
}

TEST(VakTypedListManager, StaysOffWhenThereIsNoMemoryForItsLists) {
  const VakScopedEnv env;
  VakCheckedPath path(env.impl());
  path.ledger().failAt = 1;
  VakTypedListManager lists;
  EXPECT_THROW(lists.switchOn(env.impl()), std::bad_alloc);
  EXPECT_FALSE(lists.isOn());
}

TEST(VakTypedListManager, TheEnvironmentListsWhatIsRegisteredUnderItsOwnClass) {
  const VakScopedEnv env;
  VakTypedListManager& lists = env->_typedLists;
  auto* before = VakCreate<Wheel>(env.impl());
  lists.switchOn(env.impl());
  auto* wheel = VakCreate<Wheel>(env.impl());
  auto* rope = VakCreate<Rope>(env.impl());
  EXPECT_EQ(lists.count(Wheel::GetTypeInfo()), 1);
  EXPECT_EQ(lists.count(Thing::GetTypeInfo()), 2);
  delete wheel;
  EXPECT_EQ(lists.count(Wheel::GetTypeInfo()), 0);
  delete before;
  EXPECT_EQ(lists.count(Rope::GetTypeInfo()), 1);
  delete rope;
  EXPECT_EQ(lists.count(Thing::GetTypeInfo()), 0);
  EXPECT_EQ(lists.check(), "");
}

TEST_F(VakTypedListManagerTest, RandomAdditionsRemovalsAndWalksAgreeWithAModel) {
  for (int k = 0; k < 300; ++k) {
    if (k % 3 == 0) {
      make<Wheel>();
    } else if (k % 3 == 1) {
      make<Rope>();
    } else {
      make<Thing>();
    }
  }
  Extractables model;  // oldest first
  std::mt19937 random(7);
  for (int step = 0; step < 20000; ++step) {
    VakExtractableI* e = made[random() % made.size()];
    const auto listed = std::find(model.begin(), model.end(), e);
    if (random() % 2 == 0) {
      lists.add(e);
      if (listed == model.end()) model.push_back(e);
    } else {
      lists.remove(e);
      if (listed != model.end()) model.erase(listed);
    }
    if (step % 100 != 0) continue;
    ASSERT_EQ(lists.check(), "");
    Extractables ropes;
    for (auto i = model.rbegin(); i != model.rend(); ++i) {
      if ((*i)->isType(Rope::GetTypeInfo()) != 0) ropes.push_back(*i);
    }
    ASSERT_EQ(walk(Rope::GetTypeInfo()), ropes);
    ASSERT_EQ(lists.count(Thing::GetTypeInfo()), static_cast<VakInt>(model.size()));
  }
}

}  // namespace
