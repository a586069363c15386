// Type indices: when they are handed out, and under which lock.

#include <gtest/gtest.h>

#include "tests/support/counting_mutex.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/types/rtti.h"

namespace {

class First : public VakRtti {
  VAK_RTTI_BELOW_ROOT(First);
};

class Second : public First {
  VAK_RTTI(Second, First);
};

class Third : public VakRtti {
  VAK_RTTI_BELOW_ROOT(Third);
};

TEST(TypeIndex, IsZeroUntilTheStaticQueryAssignsIt) {
  const First object;
  EXPECT_EQ(object.getTypeIndex(), 0);
  EXPECT_EQ(First::_rttiIndex, 0);
  EXPECT_EQ(First::GetTypeIndex(), 1);
  EXPECT_EQ(object.getTypeIndex(), 1);
}

TEST(TypeIndex, IsAssignedThroughTheBaseQueryOfADerivedObject) {
  const Second object;
  EXPECT_EQ(First().getTypeIndex(), 0);
  EXPECT_EQ(object.getBaseTypeIndex(), 1);
  EXPECT_EQ(First().getTypeIndex(), 1);
  EXPECT_EQ(object.getTypeIndex(), 0);
}

TEST(TypeIndex, FollowsTheOrderOfAskingAndNotOfDeclaration) {
  EXPECT_EQ(Second::GetTypeIndex(), 1);
  EXPECT_EQ(First::GetTypeIndex(), 2);
  EXPECT_EQ(Third::GetTypeIndex(), 3);
}

TEST(TypeIndex, IsHandedOutOnce) {
  EXPECT_EQ(Third::GetTypeIndex(), 1);
  EXPECT_EQ(VakRtti::_counter, 1);
  Third::InitTypeIndex();
  EXPECT_EQ(Third::GetTypeIndex(), 1);
  EXPECT_EQ(VakRtti::_counter, 1);
  EXPECT_EQ(First::GetTypeIndex(), 2);
}

TEST(TypeIndex, ContinuesFromTheCounter) {
  VakRtti::_counter = 41;
  EXPECT_EQ(First::GetTypeIndex(), 42);
}

TEST(TypeIndex, OfTheRootIsZeroForGood) {
  EXPECT_EQ(VakRtti::GetTypeIndex(), 0);
  EXPECT_EQ(First().getBaseTypeIndex(), 0);
  EXPECT_EQ(VakRtti::_counter, 0);
}

TEST(TypeIndex, IsNotTakenByTypeTestsNamesOrSizes) {
  const Second object;
  EXPECT_EQ(object.isType(Third::GetTypeInfo()), 0);
  EXPECT_EQ(object.getBaseTypeInfo(), First::GetTypeInfo());
  EXPECT_STREQ(object.getRttiTypeName(), "Second");
  EXPECT_EQ(object.getExtractableSize(), 8);
  EXPECT_EQ(VakRtti::_counter, 0);
}

TEST(TypeIndex, IsAssignedUnderTheInstalledMutex) {
  VakCountingMutex mutex;
  VakInitMT(&mutex);
  const VakLockCount count(mutex);
  EXPECT_EQ(First::GetTypeIndex(), 1);
  EXPECT_EQ(count.get(), 1);
  VakEndMT();
}

TEST(TypeIndex, IsReadWithoutLockingOnceAssigned) {
  VakCountingMutex mutex;
  First::InitTypeIndex();
  VakInitMT(&mutex);
  const VakLockCount count(mutex);
  EXPECT_EQ(First::GetTypeIndex(), 1);
  EXPECT_EQ(First().getTypeIndex(), 1);
  EXPECT_EQ(Third().getTypeIndex(), 0);
  EXPECT_EQ(count.get(), 0);
  VakEndMT();
}

// The first thing that happens under the lock is that somebody else assigns the index.
class OvertakingMutex : public VakCountingMutex {
 public:
  void lock() override {
    VakCountingMutex::lock();
    if (locks == 1) First::InitTypeIndex();
  }
};

TEST(TypeIndex, IsTestedAgainUnderTheLock) {
  OvertakingMutex mutex;
  VakInitMT(&mutex);
  EXPECT_EQ(First::GetTypeIndex(), 1);
  EXPECT_EQ(VakRtti::_counter, 1);
  EXPECT_EQ(mutex.locks, 2);
  EXPECT_EQ(mutex.unlocks, 2);
  VakEndMT();
}

// Puts another mutex in its place while it is being locked.
class ReplacedMutex : public VakBaseEnvMutex {
 public:
  explicit ReplacedMutex(VakBaseEnvMutex* other) : successor(other) {}
  void lock() override {
    ++locks;
    VakInitMT(successor);
  }
  void unlock() override { ++unlocks; }

  VakBaseEnvMutex* successor;
  int locks = 0;
  int unlocks = 0;
};

TEST(TypeIndex, UnlocksTheMutexThatIsInstalledByThen) {
  ReplacedMutex later(nullptr);
  ReplacedMutex mutex(&later);
  VakInitMT(&mutex);
  EXPECT_EQ(First::GetTypeIndex(), 1);
  EXPECT_EQ(mutex.locks, 1);
  EXPECT_EQ(mutex.unlocks, 0);
  EXPECT_EQ(later.locks, 0);
  EXPECT_EQ(later.unlocks, 1);
  VakEndMT();
}

TEST(TypeIndex, UnlocksNothingWhenTheMutexIsGoneByThen) {
  ReplacedMutex mutex(nullptr);
  VakInitMT(&mutex);
  EXPECT_EQ(First::GetTypeIndex(), 1);
  EXPECT_EQ(mutex.locks, 1);
  EXPECT_EQ(mutex.unlocks, 0);
}

class RefusingMutex : public VakBaseEnvMutex {
 public:
  void lock() override { throw 7; }
};

TEST(TypeIndex, StaysUnassignedWhenTheLockThrows) {
  RefusingMutex mutex;
  VakInitMT(&mutex);
  EXPECT_THROW(First::InitTypeIndex(), int);
  VakEndMT();
  EXPECT_EQ(First::_rttiIndex, 0);
  EXPECT_EQ(First::GetTypeIndex(), 1);
}

}  // namespace
