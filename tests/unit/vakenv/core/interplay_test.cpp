// What happens where the environment's subsystems meet: deletion, modes, the end and its listeners.
#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/counting_mutex.h"
#include "tests/support/scoped_env.h"
#include "vakbase/allocation_stack.h"
#include "vakenv/core/create.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/memory/memory_manager_object.h"
#include "vakenv/plugins/plugin.h"
#include "vakenv/plugins/plugin_manager.h"
#include "vakenv/registry/destroyable.h"
#include "vakenv/types/exceptions.h"
#include "vakmodel/contract/algorithm.h"
#include "vakmodel/contract/extractable.h"
#include "vaksupport/random.h"
#include "vaksupport/symbol_table.h"

namespace {

struct Left {
  virtual ~Left() noexcept(false) = default;
  long words[3] = {};
};
struct Joined : Left, VakEnvObjectI {
  explicit Joined(VakEnvI* env) : VakEnvObjectI(env) {}
  long more[5] = {};
};
struct JoinedManaged : Left, VakRttiMemoryManagerObjectI {
  explicit JoinedManaged(VakMemoryManager m) : VakRttiMemoryManagerObjectI(m) {}
  long more[9] = {};
};
struct Plain : VakEnvObjectI {
  explicit Plain(VakEnvI* env) : VakEnvObjectI(env) {}
};
struct Switcher : VakEnvObjectI {
  Switcher(VakEnvI* env, VakInt to) : VakEnvObjectI(env), on(to) {}
  ~Switcher() noexcept(false) override { _env->useMTSafeAllocation(on); }
  VakInt on;
};
struct Thrower : VakEnvObjectI {
  explicit Thrower(VakEnvI* env) : VakEnvObjectI(env) { throw 7; }
};
struct Var : VakExtractableI {
  VAK_RTTI(Var, VakExtractableI);
  explicit Var(VakEnvI* env) : VakExtractableI(env) {}
  VakExtractableI* makeClone(VakEnvI* env) const override { return VakCreate<Var>(env); }
};
struct Dying : VakDestroyableI {
  Dying(VakEnvI* env, int* n, bool t) : VakDestroyableI(env), count(n), throws(t) {}
  ~Dying() noexcept(false) override {
    ++*count;
    if (throws) throw *count;
  }
  int* count;
  bool throws;
};

TEST(EnvObject, IsDeletedThroughItsSecondBase) {
  VakScopedEnv env;
  const VakInt before = env->getMemoryUsage();
  VakEnvObjectI* o = VakCreate<Joined>(env.impl());
  delete o;
  Left* l = VakCreate<Joined>(env.impl());
  EXPECT_GT(env->getMemoryUsage(), before);
  delete l;
  VakRttiMemoryManagerObjectI* m = VakCreate<JoinedManaged>(env.env.getMemoryManager());
  delete m;
  l = VakCreate<JoinedManaged>(env.impl());
  delete l;
  EXPECT_EQ(env->getMemoryUsage(), before);
}
TEST(EnvObject, IsIgnoredByDeleteWhenNull) {
  VakEnvObjectI* a = nullptr;
  VakRttiEnvObjectI* b = nullptr;
  VakMemoryManagerObjectI* c = nullptr;
  VakRttiMemoryManagerObjectI* d = nullptr;
  asm volatile("" : "+r"(a), "+r"(b), "+r"(c), "+r"(d));
  delete a;
  delete b;
  delete c;
  delete d;
}
TEST(EnvObject, GoesWhereTheModeAfterItsDestructorSays) {
  VakCountingMutex mutex;
  VakInitMT(&mutex);
  {
    VakScopedEnv env;
    const VakInt before = env->getMemoryUsage();
    Switcher* on = VakCreate<Switcher>(env.impl(), 1L);
    VakLockCount locks(mutex);
    delete on;
    EXPECT_EQ(locks.get(), 1);
    Switcher* off = VakCreate<Switcher>(env.impl(), 0L);
    VakLockCount none(mutex);
    delete off;
    EXPECT_EQ(none.get(), 0);
    EXPECT_EQ(env->getMemoryUsage(), before);
  }
  VakEndMT();
}
TEST(EnvObject, WhoseConstructorThrowsUnderThreadSafeModeLocksTwice) {
  VakCountingMutex mutex;
  VakInitMT(&mutex);
  {
    VakScopedEnv env;
    env->useMTSafeAllocation(1);
    const VakInt before = env->getMemoryUsage();
    VakLockCount locks(mutex);
    EXPECT_THROW(VakCreate<Thrower>(env.env), int);
    EXPECT_EQ(locks.get(), 2);
    EXPECT_EQ(env->getMemoryUsage(), before);
  }
  VakEndMT();
}
TEST(ThreadSafeMode, ChangesNothingWhenASizeIsImpossible) {
  VakCountingMutex mutex;
  VakInitMT(&mutex);
  {
    VakScopedEnv env;
    env->useMTSafeAllocation(1);
    const VakInt u = env->getMemoryUsage(), t = env->getTotalMemoryUsage();
    VakLockCount locks(mutex);
    for (unsigned long n : {1UL << 60, ~0UL, (1UL << 47) + 1, 1UL << 63})
      EXPECT_THROW((void)env.allocator()->alloc(n), std::bad_alloc);
    EXPECT_EQ(locks.get(), 4);
    EXPECT_EQ(env->getMemoryUsage(), u);
    EXPECT_EQ(env->getTotalMemoryUsage(), t);
  }
  VakEndMT();
}
TEST(End, ThrowsTheFirstExceptionOfManyAndEmptiesTheHandle) {
  int n = 0;
  VakEnv env;
  for (int i = 0; i < 5; ++i) VakCreate<Dying>(env, &n, true);
  try {
    env.end();
    FAIL();
  } catch (int first) {
    EXPECT_EQ(first, 1);
  }
  EXPECT_EQ(n, 5);
  try {
    env.end();
    FAIL();
  } catch (const VakException& e) {
    EXPECT_STREQ(e.getMessage(), "VakEnv: Using empty handle");
  }
}
TEST(End, InThreadSafeModeWithThrowingDestroyablesBalancesTheMutex) {
  VakCountingMutex mutex;
  VakInitMT(&mutex);
  {
    int n = 0;
    VakEnv env;
    for (int i = 0; i < 5; ++i) VakCreate<Dying>(env, &n, i % 2 == 0);
    env.useMTSafeAllocation(1);
    VakLockCount locks(mutex);
    EXPECT_THROW(env.end(), int);
    EXPECT_EQ(n, 5);
    EXPECT_GE(locks.get(), 5);
  }
  VakEndMT();
}
TEST(RemoveVerticalEnv, TakesTheObjectOutOfTheTypedLists) {
  VakScopedEnv env;
  env->_typedLists.switchOn(env.impl());
  Var* a = VakCreate<Var>(env.impl());
  Var* b = VakCreate<Var>(env.impl());
  EXPECT_EQ(env->_typedLists.count(Var::GetTypeInfo()), 2);
  env->removeVerticalEnv(static_cast<VakExtractableI*>(a));
  EXPECT_EQ(env->_typedLists.count(Var::GetTypeInfo()), 1);
  delete b;
  EXPECT_EQ(env->_typedLists.count(Var::GetTypeInfo()), 0);
}
struct Filed : VakPlugIn {
  Filed(VakEnvI* env, VakExtractableI** k) : VakPlugIn(env), kept(k) {}
  ~Filed() noexcept(false) override {
    char* text = _env->strDup("hello");
    _env->strFree(text);
    (void)_env->makeSymbol("late");
    *kept = nullptr;
    int n = 0;
    delete VakCreate<Dying>(_env, &n, false);
    delete VakCreate<Var>(_env);
    _env->recycleTerm(_env->newTerm(nullptr, 1.0));
    (void)_env->getMemoryUsage();
    (void)_env->getUnlistedDestroyables();
    (void)_env->intern("x");
  }
  VakExtractableI** kept;
};
TEST(End, LetsPlugInsUseServicesInTheirDestructors) {
  VakExtractableI* kept = nullptr;
  VakEnv env;
  env.getImpl()->_plugInManager->add(VakCreate<Filed>(env, &kept), "p");
  env.end();
}
struct RandomUser : VakPlugIn {
  explicit RandomUser(VakEnvI* env) : VakPlugIn(env) {}
  ~RandomUser() noexcept(false) override { got = _env->createRandom()->getNum(); }
  inline static double got = -1;
};
TEST(End, PlugInsMayAskForTheRandomGeneratorForTheFirstTime) {
  VakEnv env;
  env.getImpl()->_plugInManager->add(VakCreate<RandomUser>(env), "p");
  env.end();
  EXPECT_GE(RandomUser::got, 0);
}
struct DomainUser : VakPlugIn {
  explicit DomainUser(VakEnvI* env) : VakPlugIn(env) {}
  ~DomainUser() noexcept(false) override { (void)_env->getOrMakeSharedDomain(1.0, 2.0); }
};
TEST(End, PlugInsMayAskForASharedDomain) {
  VakEnv env;
  env.getImpl()->_plugInManager->add(VakCreate<DomainUser>(env), "p");
  env.end();
}
struct ExpanderUser : VakExtractableI {
  VAK_RTTI(ExpanderUser, VakExtractableI);
  explicit ExpanderUser(VakEnvI* env) : VakExtractableI(env) {}
  ~ExpanderUser() noexcept(false) override { (void)_env->getExpander(); }
  VakExtractableI* makeClone(VakEnvI*) const override { return nullptr; }
};
TEST(End, ExtractablesMayAskForTheExpander) {
  VakEnv env;
  VakCreate<ExpanderUser>(env);
  env.end();
}
struct NameUser : VakDestroyableI {
  explicit NameUser(VakEnvI* env) : VakDestroyableI(env) {}
  ~NameUser() noexcept(false) override {
    _env->setName("late");
    _env->setIntProperty("p", 3);
  }
};
TEST(End, DestroyablesMayNameTheEnvironment) {
  VakEnv env;
  env.setName("early");
  VakCreate<NameUser>(env);
  env.end();
}
TEST(Symbols, AreFoundWhateverBytesTheyHave) {
  VakScopedEnv env;
  std::map<std::string, VakSymbolI*> model;
  std::mt19937 r(1);
  for (int i = 0; i < 20000; ++i) {
    std::string s(r() % 6, 'a');
    for (char& c : s) c = static_cast<char>(1 + r() % 255);
    VakSymbolI* symbol = env->makeSymbol(s.c_str());
    auto [at, fresh] = model.emplace(s, symbol);
    ASSERT_EQ(at->second, symbol);
    ASSERT_TRUE(env->hasSymbol(s.c_str()));
    ASSERT_EQ(env->intern(s.c_str()), symbol->getName());
  }
}
TEST(AllocationStack, KeepsBlocksApartWhenTheyComeAndGoInAnyOrder) {
  VakAllocationStack stack;
  struct B {
    unsigned char* p;
    unsigned long n;
    unsigned char v;
  };
  std::vector<B> live;
  std::mt19937 r(5);
  for (int i = 0; i < 200000; ++i) {
    if (live.size() < 60 && r() % 2 == 0) {
      const unsigned long n = r() % 8 == 0 ? 1 + r() % 9000 : 1 + r() % 200;
      auto* p = static_cast<unsigned char*>(stack.allocate(n));
      const auto v = static_cast<unsigned char>(r());
      p[0] = v;
      p[n - 1] = v;
      live.push_back({p, n, v});
    } else if (!live.empty()) {
      const auto k = r() % 3 == 0 ? r() % live.size() : live.size() - 1;
      ASSERT_EQ(live[k].p[0], live[k].v);
      ASSERT_EQ(live[k].p[live[k].n - 1], live[k].v);
      stack.free(live[k].p, live[k].n);
      live.erase(live.begin() + static_cast<long>(k));
    }
    if (i % 512 == 0) {
      ASSERT_EQ(stack.check(), "");
    }
  }
}
TEST(MarkArrays, AreReplacedBetweenTwoThatAreLent) {
  VakScopedEnv env;
  env->useMTSafeNormalization(1);
  void** a = env->getMarkArray();
  void** b = env->getMarkArray();
  void** c = env->getMarkArray();
  for (int i = 0; i < 1001; ++i) env->_idManager->newId(nullptr);
  env->releaseMarkArray(b);
  void** fresh = env->getMarkArray();
  EXPECT_EQ(env->_markArray, a - 3);
  EXPECT_EQ((a - 3)[0], static_cast<void*>(fresh - 3));
  EXPECT_EQ((fresh - 3)[0], static_cast<void*>(c - 3));
  EXPECT_EQ(reinterpret_cast<long>(fresh[-1]), 2001);
  EXPECT_EQ((c - 3)[0], nullptr);
}
struct SelfEnding : VakAlgorithmI {
  SelfEnding(VakEnvI* env, int n) : VakAlgorithmI(env), left(n) {}
  void end() override {
    VakEnvI* env = _env;
    const int n = left;
    ++ended;
    this->~SelfEnding();
    if (n > 0)
      (::new (static_cast<void*>(this)) SelfEnding(env, n - 1))->attach();
    else
      ::operator delete(this);
  }
  void change(const VakChange&, const VakExtractableI*) override {}
  void change(const VakChange&) override {}
  int left;
  inline static int ended = 0;
};
TEST(End, EndsAnAlgorithmThatTakesThePlaceOfTheOneThatEnded) {
  VakEnv env;
  (new SelfEnding(env.getImpl(), 2))->attach();
  env.end();
  EXPECT_EQ(SelfEnding::ended, 3);
}
struct ThrowingLocal : VakLocalEnvI {
  using VakLocalEnvI::VakLocalEnvI;
  void* alloc(unsigned long) override { throw std::bad_alloc(); }
  void free(void*, unsigned long) override {}
  VakInt init(VakExtractableI*) override { return bookId(); }
  void saveValue(void**) override {}
  void saveValue(long*) override {}
  void saveValue(double*) override {}
};
TEST(CreateRandom, UnlocksAndStaysUnmadeWhenThereIsNoMemory) {
  VakCountingMutex mutex;
  VakInitMT(&mutex);
  {
    VakScopedEnv env;
    ThrowingLocal local(env.impl());
    env->_localEnv = &local;
    VakLockCount locks(mutex);
    EXPECT_THROW(env->createRandom(), std::bad_alloc);
    EXPECT_EQ(locks.get(), 1);
    EXPECT_EQ(env->_random, nullptr);
    EXPECT_THROW(env->useMTSafeAllocation(1), VakNotSupportedOperation);
    EXPECT_EQ(env->_mtSafeAllocation, 0);
    env->_localEnv = nullptr;
    EXPECT_NE(env->createRandom(), nullptr);
  }
  VakEndMT();
}
}  // namespace
