// Several threads make, follow and lose references to objects of one environment.

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "tests/support/scoped_env.h"
#include "vakenv/core/create.h"
#include "vakenv/core/thread_safe_scope.h"
#include "vakmodel/contract/extractable.h"
#include "vakmodel/ref.h"

namespace {

constexpr int Threads = 8;
constexpr int Rounds = 300;

class Thing : public VakExtractableI {
 public:
  explicit Thing(VakEnvI* env) : VakExtractableI(env) {}
  [[nodiscard]] VakExtractableI* makeClone(VakEnvI* env) const override {
    return VakCreate<Thing>(env);
  }
};

template <class Work>
void onAllThreads(Work work) {
  std::vector<std::thread> threads;
  for (int i = 0; i < Threads; ++i) threads.emplace_back(work, i);
  for (std::thread& thread : threads) thread.join();
}

TEST(References, NoticeTheEndOfObjectsOfTheirThread) {
  const VakInstalledMutex mutex;
  VakScopedEnv scope;
  const VakThreadSafeScope threadSafe(scope.env);
  std::atomic<int> wrong = 0;
  onAllThreads([&](int) {
    for (int round = 0; round < Rounds; ++round) {
      auto* thing = VakCreate<Thing>(scope.impl());
      const VakRef<VakExtractable> ref = VakExtractable(thing);
      if (ref.get().getImpl() != thing) ++wrong;
      delete thing;
      if (ref.getState() != VakRefState::ObjectGone) ++wrong;
    }
  });
  EXPECT_EQ(wrong, 0);
}

TEST(References, OfSeveralThreadsToOneObjectAreEqual) {
  const VakInstalledMutex mutex;
  VakScopedEnv scope;
  VakExtractableI* thing = VakCreate<Thing>(scope.impl());
  std::vector<VakRef<VakExtractable>> refs(Threads);
  onAllThreads([&](int i) {
    refs[static_cast<std::size_t>(i)] = VakRef<VakExtractable>(VakExtractable(thing));
  });
  for (const auto& ref : refs) {
    EXPECT_EQ(ref, refs[0]);
    EXPECT_TRUE(ref.isAlive());
  }
}

TEST(References, NoticeEnvironmentsThatComeAndGoOnAllThreads) {
  std::atomic<int> wrong = 0;
  onAllThreads([&](int) {
    for (int round = 0; round < Rounds / 10; ++round) {
      VakRef<VakExtractable> ref;
      {
        VakScopedEnv scope;
        ref = VakExtractable(VakCreate<Thing>(scope.impl()));
        if (!ref.isAlive()) ++wrong;
      }
      if (ref.getState() != VakRefState::EnvironmentEnded) ++wrong;
    }
  });
  EXPECT_EQ(wrong, 0);
}

}  // namespace
