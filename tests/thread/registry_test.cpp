// Several threads make and delete extractables, destroyables and terms in one environment.

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "tests/support/scoped_env.h"
#include "vakenv/core/create.h"
#include "vakenv/core/multithreading.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/registry/destroyable.h"
#include "vakmodel/contract/extractable.h"
#include "vakmodel/contract/linear_term.h"

namespace {

constexpr int Threads = 8;
constexpr int Rounds = 400;

class Thing : public VakExtractableI {
 public:
  explicit Thing(VakEnvI* env) : VakExtractableI(env) {}
  [[nodiscard]] VakExtractableI* makeClone(VakEnvI* env) const override {
    return VakCreate<Thing>(env);
  }
};

class Mortal : public VakDestroyableI {
 public:
  explicit Mortal(VakEnvI* env) : VakDestroyableI(env) {}
};

template <class Work>
void onAllThreads(Work work) {
  std::vector<std::thread> threads;
  for (int i = 0; i < Threads; ++i) threads.emplace_back(work, i);
  for (std::thread& thread : threads) thread.join();
}

TEST(RegistryThreads, MakeAndDeleteExtractablesInOneEnvironment) {
  VakRecursiveEnvMutex mutex;
  VakInitMT(&mutex);
  {
    VakScopedEnv env;
    std::vector<Thing*> early;
    for (int i = 0; i < Threads * Rounds; ++i) early.push_back(VakCreate<Thing>(env.impl()));
    env->useMTSafeAllocation(1);
    onAllThreads([&](int thread) {
      for (int i = 0; i < Rounds; ++i) {
        delete VakCreate<Thing>(env.impl());
        delete early[static_cast<std::size_t>(thread * Rounds + i)];
      }
    });
    EXPECT_EQ(env->getUnreleasedIds(), 2L * Threads * Rounds);
    for (VakInt id = 0; id < env->_idManager->_size; ++id)
      EXPECT_FALSE(env->_idManager->isLive(id));
    env->useMTSafeAllocation(0);
  }
  VakEndMT();
}

TEST(RegistryThreads, ListAndDeleteDestroyablesInOneEnvironment) {
  VakRecursiveEnvMutex mutex;
  VakInitMT(&mutex);
  {
    VakScopedEnv env;
    std::vector<Mortal*> early;
    for (int i = 0; i < Threads * Rounds; ++i) early.push_back(VakCreate<Mortal>(env.impl()));
    env->useMTSafeAllocation(1);
    onAllThreads([&](int thread) {
      for (int i = 0; i < Rounds; ++i) {
        auto* fresh = VakCreate<Mortal>(env.impl());
        env->addDestroyable(fresh);
        env->addDestroyable(fresh);
        delete fresh;
        delete early[static_cast<std::size_t>(thread * Rounds + i)];
      }
    });
    EXPECT_EQ(env->_destroyables->getSize(), 0);
    EXPECT_EQ(env->getUnlistedDestroyables(), 0);
    EXPECT_EQ(env->_destroyables->check(), "");
    env->useMTSafeAllocation(0);
  }
  VakEndMT();
}

TEST(RegistryThreads, TakeAndGiveBackTermsInOneEnvironment) {
  VakRecursiveEnvMutex mutex;
  VakInitMT(&mutex);
  {
    VakScopedEnv env;
    env->useMTSafeAllocation(1);
    const VakInt before = env->getMemoryUsage();
    onAllThreads([&](int thread) {
      VakNumLinExprTermI* list = nullptr;
      for (int i = 0; i < Rounds; ++i) {
        VakNumLinExprTermI* term = env->newTerm(nullptr, thread);
        term->next = list;
        list = term;
      }
      while (list != nullptr) {
        VakNumLinExprTermI* next = list->next;
        EXPECT_EQ(list->coef, thread);
        env->recycleTerm(list);
        list = next;
      }
    });
    EXPECT_EQ(env->getMemoryUsage(), before);
    env->useMTSafeAllocation(0);
  }
  VakEndMT();
}

}  // namespace
