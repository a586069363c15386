// The environment's services while memory runs out: what they throw, and that nothing has changed.

#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <new>

#include "tests/support/checking_local_env.h"
#include "tests/support/counting_mutex.h"
#include "tests/support/failing_new.h"
#include "tests/support/scoped_env.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/types/exceptions.h"
#include "vaksupport/random.h"
#include "vaksupport/symbol_table.h"

namespace {

// An installed counting mutex and an environment that copied it.
class FailingServices : public testing::Test {
 protected:
  FailingServices() {
    VakInitMT(&mutex);
    env = std::make_unique<VakScopedEnv>();
  }
  ~FailingServices() override {
    EXPECT_TRUE(mutex.balanced);
    EXPECT_EQ(mutex.depth, 0);
    env.reset();
    VakEndMT();
  }
  VakEnvI* impl() const { return env->impl(); }

  // Runs `operation` with the first allocation of the general heap failing.
  template <class Operation>
  static void failFirstNew(Operation operation) {
    std::exception_ptr thrown;
    {
      const VakFailingNew failing(1);
      try {
        operation();
      } catch (...) {
        thrown = std::current_exception();
      }
    }
    EXPECT_TRUE(VakIsException<VakMemoryException>(thrown));
  }

  VakCountingMutex mutex;
  std::unique_ptr<VakScopedEnv> env;
};

TEST_F(FailingServices, LeaveThreadSafeAllocationOff) {
  failFirstNew([&] { impl()->useMTSafeAllocation(1); });
  EXPECT_EQ(impl()->_mtSafeAllocation, 0);
  EXPECT_EQ(impl()->_localEnv, nullptr);
  impl()->useMTSafeAllocation(1);
  EXPECT_NE(impl()->_localEnv, nullptr);
}

TEST_F(FailingServices, LeaveThreadSafeNormalizationOff) {
  failFirstNew([&] { impl()->useMTSafeNormalization(1); });
  EXPECT_EQ(impl()->_mtSafeNormalization, 0);
  EXPECT_EQ(impl()->_markArray, nullptr);
  impl()->useMTSafeNormalization(1);
  EXPECT_NE(impl()->_markArray, nullptr);
}

TEST_F(FailingServices, LeaveTheChainOfMarkArraysWithoutTheNewOne) {
  impl()->useMTSafeNormalization(1);
  void** first = impl()->getMarkArray();
  failFirstNew([&] { static_cast<void>(impl()->getMarkArray()); });
  EXPECT_EQ(impl()->_markArray, first - 3);
  EXPECT_EQ(first[-3], nullptr);
  EXPECT_EQ(first[-2], reinterpret_cast<void*>(1));
  EXPECT_NE(impl()->getMarkArray(), first);
}

TEST_F(FailingServices, LeaveTheMarkArrayThatWasToBeReplaced) {
  impl()->useMTSafeNormalization(1);
  void** first = impl()->getMarkArray();
  void** second = impl()->getMarkArray();
  impl()->releaseMarkArray(first);
  for (int i = 0; i < 1001; ++i) impl()->_idManager->newId(nullptr);
  failFirstNew([&] { static_cast<void>(impl()->getMarkArray()); });
  EXPECT_EQ(impl()->_markArray, first - 3);
  EXPECT_EQ(first[-3], second - 3);
  EXPECT_EQ(first[-2], nullptr);
  void** fresh = impl()->getMarkArray();
  EXPECT_EQ(fresh[-3], second - 3);
}

TEST_F(FailingServices, MakeNoRandomGenerator) {
  VakCheckedPath path(impl());
  path.ledger().failAt = 1;
  EXPECT_THROW(impl()->createRandom(), std::bad_alloc);
  EXPECT_EQ(impl()->_random, nullptr);
  EXPECT_EQ(path.ledger().countBlocks(), 0);
  EXPECT_EQ(mutex.depth, 0);
  EXPECT_NE(impl()->createRandom(), nullptr);
}

TEST_F(FailingServices, MakeNoCopyOfAText) {
  VakCheckedPath path(impl());
  const long usage = impl()->getMemoryUsage();
  path.ledger().failAt = 1;
  EXPECT_THROW(static_cast<void>(impl()->strDup("text")), std::bad_alloc);
  EXPECT_EQ(impl()->getMemoryUsage(), usage);
}

TEST_F(FailingServices, MakeNoSymbolWhicheverAllocationFails) {
  for (long failAt = 1;; ++failAt) {
    const VakScopedEnv fresh;
    VakCheckedPath path(fresh.impl());
    path.ledger().failAt = failAt;
    bool failed = false;
    try {
      fresh->makeSymbol("flow");
    } catch (const std::bad_alloc&) {
      failed = true;
    }
    if (!failed) {
      EXPECT_GT(failAt, 1);
      break;
    }
    EXPECT_FALSE(fresh->hasSymbol("flow")) << failAt;
    EXPECT_EQ(fresh->getSymbol("flow"), nullptr) << failAt;
    EXPECT_EQ(fresh->_symbolTable->getSize(), 0) << failAt;
    EXPECT_EQ(path.ledger().mismatches, 0) << failAt;
    EXPECT_STREQ(fresh->intern("flow"), "flow") << failAt;
  }
}

TEST_F(FailingServices, UnlockWhenThePoolIsExhausted) {
  impl()->useMTSafeAllocation(1);
  const long usage = impl()->getMemoryUsage();
  bool failed = false;
  {
    const VakFailingNew failing(1);
    try {
      static_cast<void>(impl()->_allocator->alloc(1UL << 24));
    } catch (const std::bad_alloc&) {
      failed = true;
    }
  }
  EXPECT_TRUE(failed);
  EXPECT_EQ(mutex.depth, 0);
  EXPECT_EQ(impl()->getMemoryUsage(), usage);
}

TEST_F(FailingServices, BookNoIdentifierWhenTheTableCannotGrow) {
  impl()->useMTSafeAllocation(1);
  VakInt booked = 0;
  {
    const VakFailingNew failing(1);
    try {
      for (;;) booked = impl()->_localEnv->init(nullptr) + 1;
    } catch (const std::bad_alloc&) {
    }
  }
  EXPECT_GE(booked, 255);
  EXPECT_EQ(mutex.depth, 0);
  EXPECT_EQ(impl()->_idManager->_size, booked);
  EXPECT_EQ(impl()->_localEnv->init(nullptr), booked);
}

// A mutex that cannot be had.
class RefusingMutex : public VakBaseEnvMutex {
 public:
  void lock() override {
    if (refuses) throw 7;
  }
  void unlock() override { ++unlocks; }
  bool refuses = false;
  int unlocks = 0;
};

TEST(RefusedLock, ChangesNothingAndIsNotUnlocked) {
  RefusingMutex mutex;
  VakInitMT(&mutex);
  {
    const VakScopedEnv env;
    env->useMTSafeAllocation(1);
    env->useMTSafeNormalization(1);
    void* p = env.allocator()->alloc(24);
    void** marks = env->getMarkArray();
    const long usage = env->getMemoryUsage();
    const int unlocks = mutex.unlocks;
    mutex.refuses = true;
    EXPECT_THROW(static_cast<void>(env.allocator()->alloc(24)), int);
    EXPECT_THROW(env.allocator()->free(p, 24), int);
    EXPECT_THROW(static_cast<void>(env->strDup("text")), int);
    EXPECT_THROW(static_cast<void>(env->_localEnv->init(nullptr)), int);
    EXPECT_THROW(env->createRandom(), int);
    EXPECT_THROW(static_cast<void>(env->getMarkArray()), int);
    EXPECT_THROW(env->releaseMarkArray(marks), int);
    mutex.refuses = false;
    EXPECT_EQ(mutex.unlocks, unlocks);
    EXPECT_EQ(env->getMemoryUsage(), usage);
    EXPECT_EQ(env->_idManager->_size, 0);
    EXPECT_EQ(env->_random, nullptr);
    EXPECT_EQ(marks[-2], reinterpret_cast<void*>(1));
    env.allocator()->free(p, 24);
  }
  VakEndMT();
}

}  // namespace
