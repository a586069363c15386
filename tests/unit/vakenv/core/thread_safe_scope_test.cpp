#include "vakenv/core/thread_safe_scope.h"

#include <gtest/gtest.h>

#include <mutex>
#include <thread>
#include <vector>

#include "tests/support/counting_mutex.h"
#include "tests/support/displayed.h"
#include "tests/support/failing_new.h"
#include "tests/support/scoped_env.h"
#include "vakenv/types/exceptions.h"

namespace {

TEST(InstalledMutex, IsTheProcessWideOneAsLongAsItLives) {
  {
    VakInstalledMutex mutex;
    EXPECT_EQ(VakEnvI::Mutex, &mutex.get());
    const std::scoped_lock outer(mutex.get());
    const std::scoped_lock nested(mutex.get());
  }
  EXPECT_FALSE(VakIsMTEnabled());
}

TEST(InstalledMutex, LeavesAnotherOneInItsPlace) {
  VakCountingMutex other;
  {
    const VakInstalledMutex mutex;
    VakInitMT(&other);
  }
  EXPECT_EQ(VakEnvI::Mutex, &other);
  EXPECT_EQ(VakMessageBy<VakWrongUsage>([] { const VakInstalledMutex mutex; }),
            "VakInstalledMutex: another mutex is installed. End it with VakEndMT first.");
  EXPECT_EQ(VakEnvI::Mutex, &other);
  VakEndMT();
}

struct ThreadSafeScope : testing::Test {
  VakCountingMutex mutex;
  const bool isInstalled = [this] {
    VakInitMT(&mutex);
    return true;
  }();
  VakScopedEnv scope;
  ~ThreadSafeScope() override { VakEndMT(); }
};

TEST_F(ThreadSafeScope, SwitchesTheModeOnAndOff) {
  {
    const VakThreadSafeScope threadSafe(scope.env);
    EXPECT_NE(scope->_localEnv, nullptr);
    const VakLockCount locks(mutex);
    scope->giveBack(scope->allocate(40), 40);
    EXPECT_EQ(locks.get(), 2);
  }
  EXPECT_EQ(scope->_localEnv, nullptr);
  EXPECT_EQ(scope->_mtSafeAllocation, 0);
}

TEST_F(ThreadSafeScope, SwitchesBackWhenAnExceptionLeavesIt) {
  try {
    const VakThreadSafeScope threadSafe(scope.env);
    throw 1;
  } catch (int) {
  }
  EXPECT_EQ(scope->_localEnv, nullptr);
}

TEST_F(ThreadSafeScope, LeavesAModeAloneThatWasOnBefore) {
  scope->useMTSafeAllocation(1);
  {
    const VakThreadSafeScope outer(scope.env);
    const VakThreadSafeScope nested(scope.env);
  }
  EXPECT_NE(scope->_localEnv, nullptr);
  scope->useMTSafeAllocation(0);
}

TEST_F(ThreadSafeScope, RefusesAnEmptyHandleAndAnEnvironmentWithoutMutex) {
  EXPECT_EQ(VakMessageBy<VakEmptyHandleException>(
                [] { const VakThreadSafeScope s(VakEnv(static_cast<VakEnvI*>(nullptr))); }),
            "VakEnv: Using empty handle");
  VakEndMT();
  const VakScopedEnv unlocked;
  EXPECT_EQ(VakMessageBy<VakWrongUsage>([&] { const VakThreadSafeScope s(unlocked.env); }),
            "VakThreadSafeScope: the environment has no mutex. Install one before it is made.");
  EXPECT_EQ(unlocked->_localEnv, nullptr);
}

TEST_F(ThreadSafeScope, NoticesThatTheEnvironmentEnds) {
  const VakThreadSafeScope threadSafe(scope.env);
  scope.env.end();
}

TEST_F(ThreadSafeScope, SwitchesNothingWhenMemoryRunsOut) {
  VakFailEachNew([&] { const VakThreadSafeScope s(scope.env); },
                 [&](const std::exception_ptr& thrown) {
                   EXPECT_TRUE(VakIsException<std::bad_alloc>(thrown) ||
                               VakIsException<VakMemoryException>(thrown));
                   EXPECT_EQ(scope->_localEnv, nullptr);
                   EXPECT_EQ(scope->_mtSafeAllocation, 0);
                 });
}

TEST(ThreadSafeScopes, LetSeveralThreadsMakeObjects) {
  const VakInstalledMutex mutex;
  VakScopedEnv scope;
  const VakInt before = scope->getMemoryUsage();
  {
    const VakThreadSafeScope threadSafe(scope.env);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([&scope] {
        for (int k = 0; k < 1000; ++k) scope->giveBack(scope->allocate(40), 40);
      });
    }
    for (std::thread& thread : threads) thread.join();
  }
  EXPECT_EQ(scope->getMemoryUsage(), before);
}

}  // namespace
