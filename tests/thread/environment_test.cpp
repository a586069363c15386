// Several threads in one environment that is switched to thread-safe allocation.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <latch>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/scoped_env.h"
#include "vakenv/arrays.h"
#include "vakenv/core/create.h"
#include "vakenv/inspect/memory_report.h"
#include "vakenv/memory/env_object.h"
#include "vakenv/memory/memory_manager_object.h"
#include "vakenv/registry/destroyable.h"
#include "vakmodel/contract/extractable.h"

namespace {

constexpr int Threads = 8;
constexpr int Rounds = 300;

// Runs `work(number)` in every thread at once and waits for all of them.
template <class Work>
void runInThreads(Work work) {
  std::latch ready(Threads);
  std::vector<std::thread> threads;
  for (int number = 0; number < Threads; ++number) {
    threads.emplace_back([&ready, &work, number] {
      ready.arrive_and_wait();
      work(number);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

// Installs a mutex for environments made in its scope.
class InstalledMutex {
 public:
  InstalledMutex() { VakInitMT(&_mutex); }
  ~InstalledMutex() { VakEndMT(); }
  InstalledMutex(const InstalledMutex&) = delete;
  InstalledMutex& operator=(const InstalledMutex&) = delete;

 private:
  VakRecursiveEnvMutex _mutex;
};

class Item : public VakEnvObjectI {
 public:
  Item(VakEnvI* env, long key) : VakEnvObjectI(env), _key(key) {}
  long _key;
};

class Note : public VakRttiMemoryManagerObjectI {
  VAK_RTTI(Note, VakRttiMemoryManagerObjectI);
  Note(VakMemoryManager manager, long key) : VakRttiMemoryManagerObjectI(manager), _key(key) {}
  long _key;
};

class Thing : public VakExtractableI {
  VAK_RTTI(Thing, VakExtractableI);
  explicit Thing(VakEnvI* env) : VakExtractableI(env) {}
  [[nodiscard]] VakExtractableI* makeClone(VakEnvI*) const override { return nullptr; }
};

// The class of one number, so that there are many to ask for their index.
template <int Number>
class Numbered : public VakRtti {
  VAK_RTTI_BELOW_ROOT(Numbered);
};

template <int... Numbers>
std::vector<VakInt> askNumbered(std::integer_sequence<int, Numbers...>) {
  return {Numbered<Numbers>::GetTypeIndex()...};
}

TEST(SharedEnvironment, ServesObjectsToAllThreads) {
  const InstalledMutex mutex;
  const VakScopedEnv env;
  env->useMTSafeAllocation(1);
  const long usage = env->getMemoryUsage();
  std::atomic<int> mistakes = 0;
  runInThreads([&](int number) {
    std::vector<Item*> items;
    for (int round = 0; round < Rounds; ++round) {
      items.push_back(VakCreate<Item>(env.impl(), number * Rounds + round));
      Note* note = VakCreate<Note>(env.env.getMemoryManager(), number);
      if (note->_key != number) ++mistakes;
      delete note;
    }
    for (int round = 0; round < Rounds; ++round) {
      if (items[round]->_key != number * Rounds + round) ++mistakes;
      delete items[round];
    }
  });
  EXPECT_EQ(mistakes, 0);
  EXPECT_EQ(env->getMemoryUsage(), usage);
}

TEST(SharedEnvironment, ServesTextsAndBlocksToAllThreads) {
  const InstalledMutex mutex;
  const VakScopedEnv env;
  env->useMTSafeAllocation(1);
  const long usage = env->getMemoryUsage();
  std::atomic<int> mistakes = 0;
  runInThreads([&](int number) {
    for (int round = 0; round < Rounds; ++round) {
      const std::string text(static_cast<std::size_t>(number * 10 + round % 50), 'x');
      char* copy = env->strDup(text.c_str());
      void* block = env.allocator()->alloc(static_cast<unsigned long>(round) * 7);
      if (text != copy) ++mistakes;
      env.allocator()->free(block, static_cast<unsigned long>(round) * 7);
      env->strFree(copy);
    }
  });
  EXPECT_EQ(mistakes, 0);
  EXPECT_EQ(env->getMemoryUsage(), usage);
}

TEST(SharedEnvironment, CountsTheArraysOfAllThreads) {
  const InstalledMutex mutex;
  const VakScopedEnv env;
  env->useMTSafeAllocation(1);
  const VakMemoryReport before(env.env);
  std::vector<VakNumArray> kept(Threads, VakNumArray(static_cast<VakArrayI*>(nullptr)));
  runInThreads([&](int number) {
    for (int round = 0; round < Rounds; ++round) {
      VakNumArray array(env.env, round);
      for (int i = 0; i < 20; ++i) array.add(i);
      array.end();
    }
    kept[static_cast<std::size_t>(number)] = VakNumArray(env.env, 100);
  });
  const VakMemoryReport difference = VakMemoryReport(env.env) - before;
  EXPECT_EQ(difference.arrays.count, Threads);
  EXPECT_EQ(difference.arrays.bytes, difference.inUse);
  for (VakNumArray& array : kept) array.end();
  EXPECT_EQ(VakMemoryReport(env.env).arrays, before.arrays);
}

TEST(SharedEnvironment, BooksEveryIdentifierOnce) {
  const InstalledMutex mutex;
  const VakScopedEnv env;
  env->useMTSafeAllocation(1);
  std::vector<std::vector<VakInt>> booked(Threads);
  runInThreads([&](int number) {
    for (int round = 0; round < Rounds; ++round) {
      booked[static_cast<std::size_t>(number)].push_back(env->_localEnv->init(nullptr));
    }
  });
  std::set<VakInt> all;
  for (const std::vector<VakInt>& identifiers : booked) {
    all.insert(identifiers.begin(), identifiers.end());
  }
  EXPECT_EQ(all.size(), static_cast<std::size_t>(Threads * Rounds));
  EXPECT_EQ(*all.begin(), 0);
  EXPECT_EQ(*all.rbegin(), Threads * Rounds - 1);
}

TEST(SharedEnvironment, ServesModellingObjectsAndDestroyablesToAllThreads) {
  const InstalledMutex mutex;
  const VakScopedEnv env;
  auto* listed = VakCreate<VakDestroyableI>(env.impl());
  env->useMTSafeAllocation(1);
  runInThreads([&](int) {
    for (int round = 0; round < Rounds; ++round) {
      auto* thing = VakCreate<Thing>(env.impl());
      auto* destroyable = VakCreate<VakDestroyableI>(env.impl());
      delete destroyable;
      delete thing;
    }
  });
  EXPECT_EQ(env->getUnreleasedIds(), Threads * Rounds);
  EXPECT_EQ(env->getUnlistedDestroyables(), 0);
  delete listed;
}

TEST(SharedEnvironment, MakesOneRandomGeneratorForAllThreads) {
  const InstalledMutex mutex;
  const VakScopedEnv env;
  env->useMTSafeAllocation(1);
  std::vector<VakUniqueRandomI*> made(Threads);
  runInThreads([&](int number) { made[static_cast<std::size_t>(number)] = env->createRandom(); });
  EXPECT_NE(made.front(), nullptr);
  EXPECT_EQ(std::count(made.begin(), made.end(), made.front()), Threads);
}

TEST(SharedEnvironment, LendsEachMarkArrayToOneThread) {
  const InstalledMutex mutex;
  const VakScopedEnv env;
  env->useMTSafeAllocation(1);
  env->useMTSafeNormalization(1);
  std::atomic<int> mistakes = 0;
  runInThreads([&](int) {
    for (int round = 0; round < Rounds; ++round) {
      void** marks = env->getMarkArray();
      if (marks[round] != nullptr) ++mistakes;
      marks[round] = marks;
      marks[round] = nullptr;
      env->releaseMarkArray(marks);
    }
  });
  EXPECT_EQ(mistakes, 0);
}

TEST(SharedTypes, GiveEveryClassOneIndexWhicheverThreadAsksFirst) {
  const InstalledMutex mutex;
  constexpr int classes = 50;
  std::vector<std::vector<VakInt>> asked(Threads);
  runInThreads([&](int number) {
    asked[static_cast<std::size_t>(number)] =
        askNumbered(std::make_integer_sequence<int, classes>());
  });
  for (const std::vector<VakInt>& indices : asked) EXPECT_EQ(indices, asked.front());
  const std::set<VakInt> distinct(asked.front().begin(), asked.front().end());
  EXPECT_EQ(distinct.size(), static_cast<std::size_t>(classes));
  EXPECT_EQ(*distinct.begin(), 1);
  EXPECT_EQ(*distinct.rbegin(), classes);
  EXPECT_EQ(VakRtti::_counter, classes);
}

// Everything that one thread does with an environment of its own.
void liveInOwnEnvironment(std::atomic<int>& mistakes) {
  for (int life = 0; life < 5; ++life) {
    VakEnv env;
    VakEnvI* impl = env.getImpl();
    const long usage = impl->getMemoryUsage();
    for (int round = 0; round < Rounds / 5; ++round) {
      auto* item = VakCreate<Item>(impl, round);
      auto* thing = VakCreate<Thing>(impl);
      char* text = impl->strDup("own");
      if (item->_key != round || thing->id != 0) ++mistakes;
      impl->strFree(text);
      delete thing;
      delete item;
    }
    if (impl->getMemoryUsage() != usage) ++mistakes;
    impl->makeSymbol("own");
    impl->createRandom();
    impl->setIntProperty("own", life);
    VakCreate<VakDestroyableI>(impl);
    VakCreate<Thing>(impl);
    env.end();
  }
}

TEST(OwnEnvironments, LetThreadsWorkSideBySide) {
  std::atomic<int> mistakes = 0;
  runInThreads([&](int) { liveInOwnEnvironment(mistakes); });
  EXPECT_EQ(mistakes, 0);
}

TEST(OwnEnvironments, LetThreadsWorkSideBySideWithTheProcessWideMutex) {
  const InstalledMutex mutex;
  std::atomic<int> mistakes = 0;
  runInThreads([&](int) {
    liveInOwnEnvironment(mistakes);
    if (Numbered<0>::GetTypeIndex() == 0) ++mistakes;
  });
  EXPECT_EQ(mistakes, 0);
}

}  // namespace
