// The process-wide mutex and the two switches of thread-safe mode.

#include "vakenv/core/multithreading.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <new>

#include "tests/support/counting_mutex.h"
#include "tests/support/recording_local_env.h"
#include "tests/support/scoped_env.h"
#include "vakenv/core/create.h"
#include "vakenv/core/local_env.h"
#include "vakenv/memory/env_object.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/types/exceptions.h"

namespace {

// An installed counting mutex and an environment that copied it.
class Multithreading : public testing::Test {
 protected:
  Multithreading() {
    VakInitMT(&mutex);
    env = std::make_unique<VakScopedEnv>();
  }
  ~Multithreading() override {
    env.reset();
    VakEndMT();
  }

  VakEnvI* impl() const { return env->impl(); }

  // The locks that one operation takes; -1 when they are not all given back.
  template <class Operation>
  long locksOf(Operation operation) {
    const VakLockCount count(mutex);
    operation();
    return count.get();
  }

  VakCountingMutex mutex;
  std::unique_ptr<VakScopedEnv> env;
};

class Item : public VakEnvObjectI {
 public:
  explicit Item(VakEnvI* env) : VakEnvObjectI(env) {}
};

class DyingMutex : public VakBaseEnvMutex {
 public:
  explicit DyingMutex(bool& dead) : _dead(dead) {}
  ~DyingMutex() override { _dead = true; }

 private:
  bool& _dead;
};

TEST(InstalledMutex, EnablesMultithreadingUntilItIsRemoved) {
  EXPECT_EQ(VakEnvI::Mutex, nullptr);
  EXPECT_EQ(VakEnvI::DeleteMutex, 0);
  EXPECT_FALSE(VakIsMTEnabled());
  VakCountingMutex mutex;
  VakInitMT(&mutex);
  EXPECT_TRUE(VakIsMTEnabled());
  EXPECT_EQ(VakEnvI::Mutex, &mutex);
  VakEndMT();
  EXPECT_FALSE(VakIsMTEnabled());
  EXPECT_EQ(VakEnvI::Mutex, nullptr);
}

TEST(InstalledMutex, StaysTheCallers) {
  bool dead = false;
  {
    DyingMutex mutex(dead);
    VakInitMT(&mutex);
    VakEndMT();
    EXPECT_FALSE(dead);
  }
}

TEST(InstalledMutex, IsDeletedWhenTheProcessWasToldSo) {
  bool dead = false;
  VakInitMT(new DyingMutex(dead));
  VakEnvI::DeleteMutex = 1;
  VakEndMT();
  EXPECT_TRUE(dead);
  EXPECT_EQ(VakEnvI::DeleteMutex, 0);
}

TEST(InstalledMutex, IsTheCallersAgainWhenAnotherIsInstalled) {
  VakEnvI::DeleteMutex = 1;
  VakCountingMutex mutex;
  VakInitMT(&mutex);
  EXPECT_EQ(VakEnvI::DeleteMutex, 0);
  VakEndMT();
}

TEST(InstalledMutex, MayBeMissingWhenItIsRemoved) {
  VakEnvI::DeleteMutex = 1;
  VakEndMT();
  EXPECT_EQ(VakEnvI::DeleteMutex, 0);
  VakEndMT();
  EXPECT_FALSE(VakIsMTEnabled());
}

TEST(BaseMutex, DoesNothing) {
  VakBaseEnvMutex mutex;
  mutex.unlock();
  mutex.lock();
  mutex.lock();
}

TEST(RecursiveMutex, MayBeLockedAgainByItsHolder) {
  VakRecursiveEnvMutex mutex;
  mutex.lock();
  mutex.lock();
  mutex.unlock();
  mutex.unlock();
}

TEST(MutexGuard, LocksForItsScopeAndNothingForNull) {
  VakCountingMutex mutex;
  VakBaseEnvMutex* pointer = &mutex;
  {
    const VakMutexGuard guard(pointer);
    EXPECT_EQ(mutex.depth, 1);
  }
  EXPECT_EQ(mutex.depth, 0);
  pointer = nullptr;
  { const VakMutexGuard guard(pointer); }
  EXPECT_EQ(mutex.locks, 1);
}

TEST(MutexGuard, UnlocksTheMutexThatIsNamedByThen) {
  VakCountingMutex first;
  VakCountingMutex second;
  VakBaseEnvMutex* pointer = &first;
  second.lock();
  {
    const VakMutexGuard guard(pointer);
    pointer = &second;
  }
  EXPECT_EQ(first.unlocks, 0);
  EXPECT_EQ(second.unlocks, 1);
  first.unlock();
}

TEST_F(Multithreading, LocksNothingWhileThreadSafeModeIsOff) {
  EXPECT_EQ(locksOf([&] {
              impl()->_allocator->free(impl()->_allocator->alloc(24), 24);
              delete VakCreate<Item>(impl());
              impl()->strFree(impl()->strDup("text"));
            }),
            0);
}

TEST_F(Multithreading, LocksOnceForEachAllocationAndEachRelease) {
  impl()->useMTSafeAllocation(1);
  void* p = nullptr;
  EXPECT_EQ(locksOf([&] { p = impl()->_allocator->alloc(24); }), 1);
  EXPECT_EQ(locksOf([&] { impl()->_allocator->free(p, 24); }), 1);
}

TEST_F(Multithreading, LocksOnceForAnAllocationOfNoBytes) {
  impl()->useMTSafeAllocation(1);
  void* p = &p;
  EXPECT_EQ(locksOf([&] { p = impl()->_allocator->alloc(0); }), 1);
  EXPECT_EQ(p, nullptr);
}

TEST_F(Multithreading, LocksNothingForReleasesThatAreIgnored) {
  impl()->useMTSafeAllocation(1);
  void* p = impl()->_allocator->alloc(24);
  EXPECT_EQ(locksOf([&] {
              impl()->_allocator->free(nullptr, 24);
              impl()->_allocator->free(p, 0);
            }),
            0);
  impl()->_allocator->free(p, 24);
}

TEST_F(Multithreading, LocksOnceForTheDeletionOfAnEnvironmentObject) {
  impl()->useMTSafeAllocation(1);
  auto* item = VakCreate<Item>(impl());
  EXPECT_EQ(locksOf([&] { delete item; }), 1);
}

TEST_F(Multithreading, LocksOnceForDuplicatingAndOnceForFreeingAText) {
  impl()->useMTSafeAllocation(1);
  char* text = nullptr;
  EXPECT_EQ(locksOf([&] { text = impl()->strDup("text"); }), 1);
  EXPECT_EQ(locksOf([&] { impl()->strFree(text); }), 1);
  EXPECT_EQ(locksOf([&] { impl()->strFree(impl()->strDup(nullptr)); }), 0);
}

TEST_F(Multithreading, LocksOnceForBookingAnIdentifier) {
  impl()->useMTSafeAllocation(1);
  VakInt id = -1;
  EXPECT_EQ(locksOf([&] { id = impl()->_localEnv->init(nullptr); }), 1);
  EXPECT_EQ(id, 0);
}

TEST_F(Multithreading, LocksForEachBookingOfAnExhaustedTableToo) {
  impl()->useMTSafeAllocation(1);
  for (int i = 0; i < 1000; ++i) {
    ASSERT_EQ(locksOf([&] { ASSERT_EQ(impl()->_localEnv->init(nullptr), i); }), 1);
  }
}

TEST_F(Multithreading, UnlocksWhenAnAllocationThrows) {
  impl()->useMTSafeAllocation(1);
  const long usage = impl()->getMemoryUsage();
  EXPECT_EQ(locksOf([&] {
              EXPECT_THROW(static_cast<void>(impl()->_allocator->alloc(1UL << 60)), std::bad_alloc);
            }),
            1);
  EXPECT_EQ(impl()->getMemoryUsage(), usage);
}

TEST_F(Multithreading, LocksNothingInAnEnvironmentWithoutAMutex) {
  VakEndMT();
  const VakScopedEnv other;
  VakInitMT(&mutex);
  other->useMTSafeAllocation(1);
  EXPECT_EQ(locksOf([&] {
              other.allocator()->free(other.allocator()->alloc(24), 24);
              other->strFree(other->strDup("text"));
              static_cast<void>(other->_localEnv->init(nullptr));
            }),
            0);
}

TEST_F(Multithreading, KeepsLockingTheMutexThatTheEnvironmentCopied) {
  impl()->useMTSafeAllocation(1);
  VakEndMT();
  EXPECT_EQ(locksOf([&] { impl()->_allocator->free(impl()->_allocator->alloc(24), 24); }), 2);
  VakInitMT(&mutex);
}

TEST(ThreadSafeAllocation, InstallsOneLocalEnvironmentHoweverOftenItIsSwitchedOn) {
  const VakScopedEnv env;
  env->useMTSafeAllocation(1);
  VakLocalEnvI* local = env->_localEnv;
  ASSERT_NE(local, nullptr);
  EXPECT_NE(dynamic_cast<VakMTSafeLocalEnvI*>(local), nullptr);
  EXPECT_EQ(local->_env, env.impl());
  EXPECT_EQ(local->_next, nullptr);
  env->useMTSafeAllocation(1);
  EXPECT_EQ(env->_localEnv, local);
}

TEST(ThreadSafeAllocation, GoesBackToThePoolWhenSwitchedOff) {
  const VakScopedEnv env;
  env->useMTSafeAllocation(1);
  env->useMTSafeAllocation(1);
  env->useMTSafeAllocation(0);
  EXPECT_EQ(env->_localEnv, nullptr);
  EXPECT_EQ(env->_mtSafeAllocation, 0);
  env->useMTSafeAllocation(0);
  EXPECT_EQ(env->_localEnv, nullptr);
  const long usage = env->getMemoryUsage();
  env.allocator()->free(env.allocator()->alloc(24), 24);
  EXPECT_EQ(env->getMemoryUsage(), usage);
}

TEST(ThreadSafeAllocation, KeepsTheValueThatWasGiven) {
  const VakScopedEnv env;
  env->useMTSafeAllocation(7);
  EXPECT_EQ(env->_mtSafeAllocation, 7);
  VakLocalEnvI* local = env->_localEnv;
  env->useMTSafeAllocation(-3);
  EXPECT_EQ(env->_mtSafeAllocation, -3);
  EXPECT_EQ(env->_localEnv, local);
  env->useMTSafeNormalization(9);
  EXPECT_EQ(env->_mtSafeNormalization, 9);
}

TEST(ThreadSafeAllocation, IsRefusedWhileAnotherLocalEnvironmentIsInstalled) {
  const VakScopedEnv env;
  const VakRecordedPath path(env.impl());
  try {
    env->useMTSafeAllocation(1);
    FAIL() << "nothing was thrown";
  } catch (const VakNotSupportedOperation& exception) {
    EXPECT_STREQ(exception.getMessage(), "Operation Not Supported.");
  }
  EXPECT_EQ(env->_mtSafeAllocation, 0);
  EXPECT_EQ(env->_localEnv, &path.local);
}

TEST(ThreadSafeAllocation, RemovesTheHeadAndKeepsWhatIsBehindIt) {
  const VakScopedEnv env;
  VakRecordingLocalEnv behind(env.impl());
  env->useMTSafeAllocation(1);
  env->_localEnv->_next = &behind;
  env->useMTSafeAllocation(0);
  EXPECT_EQ(env->_localEnv, &behind);
  env->_localEnv = nullptr;
}

TEST(ThreadSafeAllocation, MaySpanPartOfAnObjectsLife) {
  const VakScopedEnv env;
  const long usage = env->getMemoryUsage();
  auto* before = VakCreate<Item>(env.impl());
  env->useMTSafeAllocation(1);
  delete before;
  auto* during = VakCreate<Item>(env.impl());
  env->useMTSafeAllocation(0);
  delete during;
  EXPECT_EQ(env->getMemoryUsage(), usage);
}

TEST(LocalEnvironment, ServesFromThePool) {
  const VakScopedEnv env;
  env->useMTSafeAllocation(1);
  const long usage = env->getMemoryUsage();
  void* p = env->_localEnv->alloc(24);
  EXPECT_EQ(env->getMemoryUsage(), usage + 24);
  env->_localEnv->free(nullptr, 24);
  EXPECT_EQ(env->getMemoryUsage(), usage + 24);
  env->_localEnv->free(p, 24);
  EXPECT_EQ(env->getMemoryUsage(), usage);
  EXPECT_EQ(env->_localEnv->alloc(0), nullptr);
}

TEST(LocalEnvironment, BooksIdentifiersWithNullInTheirSlots) {
  const VakScopedEnv env;
  env->useMTSafeAllocation(1);
  EXPECT_EQ(env->_localEnv->bookId(), 0);
  EXPECT_EQ(env->_localEnv->init(reinterpret_cast<VakExtractableI*>(16)), 1);
  EXPECT_EQ(env->_idManager->_data[0], nullptr);
  EXPECT_EQ(env->_idManager->_data[1], nullptr);
  EXPECT_FALSE(env->_idManager->isLink(env->_idManager->_data[1]));
  env->_localEnv->releaseId(1);
  EXPECT_EQ(env->_idManager->_size, 1);
  EXPECT_EQ(env->_localEnv->bookId(), 1);
}

TEST(LocalEnvironment, SavesNoValues) {
  const VakScopedEnv env;
  env->useMTSafeAllocation(1);
  void* pointer = &pointer;
  long integer = 1;
  double number = 2.0;
  env->saveValue(&pointer);
  env->saveValue(&integer);
  env->saveValue(&number);
  EXPECT_EQ(pointer, &pointer);
  EXPECT_EQ(integer, 1);
  EXPECT_EQ(number, 2.0);
}

}  // namespace
