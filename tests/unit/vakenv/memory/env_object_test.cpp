// Objects that give their memory back to their environment.

#include "vakenv/memory/env_object.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <type_traits>

#include "tests/support/checked_build.h"
#include "tests/support/counting_mutex.h"
#include "tests/support/recording_local_env.h"
#include "tests/support/scoped_env.h"
#include "vakenv/core/create.h"

namespace {

using testing::ElementsAre;

template <class Base>
class Plain : public Base {
 public:
  explicit Plain(VakEnvI* env) : Base(env) {}
};

template <class Base>
class Larger : public Plain<Base> {
 public:
  explicit Larger(VakEnvI* env) : Plain<Base>(env) {}
  long numbers[3] = {1, 2, 3};
};

class Other {
 public:
  virtual ~Other() noexcept(false) {}
  long number = 0;
};

// The base that frees the memory does not stand at the start of the object.
template <class Base>
class Second : public Other, public Base {
 public:
  explicit Second(VakEnvI* env) : Base(env) {}
  using Base::operator delete;
  using Base::operator new;
};

// Everything about its deletion can be known to the compiler.
template <class Base>
class Final final : public Plain<Base> {
 public:
  explicit Final(VakEnvI* env) : Plain<Base>(env) {}
  ~Final() override { _numbers[0] = 0; }

 private:
  long _numbers[2] = {1, 2};
};

template <class Base>
class FailsToBegin : public Base {
 public:
  explicit FailsToBegin(VakEnvI* env) : Base(env) { throw 1; }
};

template <class Base>
class FailsToEnd : public Base {
 public:
  explicit FailsToEnd(VakEnvI* env) : Base(env) {}
  ~FailsToEnd() override { throw 2; }
};

// Switches thread-safe allocation while it is destroyed.
template <class Base>
class Switches : public Base {
 public:
  Switches(VakEnvI* env, VakInt on) : Base(env), _on(on) {}
  ~Switches() override { this->_env->useMTSafeAllocation(_on); }
  VakInt _on;
};

template <class T>
concept IsMadeByPlainNew = requires {
  T::operator new(sizeof(T));
};

template <class Base>
class EnvObject : public testing::Test {};

using Bases = testing::Types<VakEnvObjectI, VakRttiEnvObjectI>;
TYPED_TEST_SUITE(EnvObject, Bases);

TYPED_TEST(EnvObject, BalancesTheUsageOfItsEnvironment) {
  const VakScopedEnv env;
  const long usage = env->getMemoryUsage();
  auto* plain = VakCreate<Plain<TypeParam>>(env.impl());
  TypeParam* larger = VakCreate<Larger<TypeParam>>(env.impl());
  EXPECT_EQ(env->getMemoryUsage(), usage + 16 + 40);
  delete plain;
  EXPECT_EQ(env->getMemoryUsage(), usage + 40);
  delete larger;
  EXPECT_EQ(env->getMemoryUsage(), usage);
}

TYPED_TEST(EnvObject, GivesItsMemoryBackWhenTheCompilerKnowsItsType) {
  const VakScopedEnv env;
  const long usage = env->getMemoryUsage();
  for (int i = 0; i < 3; ++i) {
    auto* object = VakCreate<Final<TypeParam>>(env.impl());
    delete object;
    TypeParam* base = VakCreate<Final<TypeParam>>(env.impl());
    delete base;
    EXPECT_EQ(env->getMemoryUsage(), usage);
  }
  const VakRecordedPath path(env.impl());
  auto* object = VakCreate<Final<TypeParam>>(env.impl());
  delete object;
  EXPECT_THAT(path.local.calls, ElementsAre("alloc 32", "free 32"));
}

TYPED_TEST(EnvObject, GivesTheWholeObjectBackWhenItsBaseIsNotTheFirst) {
  const VakScopedEnv env;
  const long usage = env->getMemoryUsage();
  auto* object = VakCreate<Second<TypeParam>>(env.impl());
  TypeParam* base = object;
  ASSERT_NE(static_cast<void*>(base), static_cast<void*>(object));
  EXPECT_EQ(env->getMemoryUsage(), usage + 32);
  delete base;
  EXPECT_EQ(env->getMemoryUsage(), usage);
  EXPECT_EQ(env->_memory.check({env->_termAllocator}), "");
}

TYPED_TEST(EnvObject, GoesThroughTheLocalEnvironmentWithItsSize) {
  const VakScopedEnv env;
  const VakRecordedPath path(env.impl());
  delete VakCreate<Plain<TypeParam>>(env.impl());
  TypeParam* second = VakCreate<Second<TypeParam>>(env.impl());
  delete second;
  EXPECT_THAT(path.local.calls, ElementsAre("alloc 16", "free 16", "alloc 32", "free 32"));
}

TYPED_TEST(EnvObject, BypassesTheAllocatorObject) {
  const VakScopedEnv env;
  auto* object = VakCreate<Plain<TypeParam>>(env.impl());
  VakTarnAlloc* allocator = env->_allocator;
  env->_allocator = nullptr;
  delete object;
  env->_allocator = allocator;
}

TYPED_TEST(EnvObject, GivesItsMemoryBackWhenItsConstructorThrows) {
  const VakScopedEnv env;
  const long usage = env->getMemoryUsage();
  EXPECT_THROW(static_cast<void>(VakCreate<FailsToBegin<TypeParam>>(env.impl())), int);
  EXPECT_EQ(env->getMemoryUsage(), usage);
}

TYPED_TEST(EnvObject, LeavesItsStorageAloneWhenItsDestructorThrows) {
  const VakScopedEnv env;
  auto* object = VakCreate<FailsToEnd<TypeParam>>(env.impl());
  const long usage = env->getMemoryUsage();
  EXPECT_THROW(delete object, int);
  EXPECT_EQ(env->getMemoryUsage(), usage);
}

TYPED_TEST(EnvObject, FreesNothingWithoutAnEnvironment) {
  alignas(16) unsigned char place[sizeof(Plain<TypeParam>)];
  auto* object = new (place) Plain<TypeParam>(nullptr);
  delete object;
  object = new (place) Plain<TypeParam>(nullptr);
  TypeParam::operator delete(object, 16UL);
}

TYPED_TEST(EnvObject, LooksForTheLocalEnvironmentAfterItsDestructorRan) {
  VakCountingMutex mutex;
  VakInitMT(&mutex);
  const VakScopedEnv env;
  auto* on = VakCreate<Switches<TypeParam>>(env.impl(), 1);
  const VakLockCount whenSwitchedOn(mutex);
  delete on;
  EXPECT_EQ(whenSwitchedOn.get(), 1);
  auto* off = VakCreate<Switches<TypeParam>>(env.impl(), 0);
  const VakLockCount whenSwitchedOff(mutex);
  delete off;
  EXPECT_EQ(whenSwitchedOff.get(), 0);
  VakEndMT();
}

TYPED_TEST(EnvObject, TakesBackStorageForTheEnvironmentThatItHolds) {
  const VakScopedEnv env;
  const long usage = env->getMemoryUsage();
  auto* object = VakCreate<Plain<TypeParam>>(env.impl());
  TypeParam::operator delete(object, 16UL);
  EXPECT_EQ(env->getMemoryUsage(), usage);
}

TYPED_TEST(EnvObject, DoesNotFilterASizeOfZero) {
  VAK_SKIP_IN_CHECKED_BUILD("it refuses a wrong size");
  VakScopedEnv env;
  auto* viaLocal = VakCreate<Plain<TypeParam>>(env.impl());
  {
    const VakRecordedPath path(env.impl());
    TypeParam::operator delete(viaLocal, 0UL);
    EXPECT_THAT(path.local.calls, ElementsAre("free 0"));
  }
  auto* direct = VakCreate<Plain<TypeParam>>(env.impl());
  const long usage = env->getMemoryUsage();
  TypeParam::operator delete(direct, 0UL);
  EXPECT_EQ(env->getMemoryUsage(), usage - VakMemory::getElementSize(VakMemory::getIndex(0)));
  env.env.end();  // A wrong size leaves counts that the check at the end of the scope would refuse.
}

TYPED_TEST(EnvObject, GivesNothingBackWhenItLivesInAnotherPlace) {
  const VakScopedEnv env;
  const long usage = env->getMemoryUsage();
  { const Larger<TypeParam> object(env.impl()); }
  EXPECT_EQ(env->getMemoryUsage(), usage);
}

TYPED_TEST(EnvObject, HoldsItsEnvironmentAndItsMemoryManager) {
  const VakScopedEnv env;
  const Plain<TypeParam> object(env.impl());
  EXPECT_EQ(object._env, env.impl());
  EXPECT_EQ(object.getMemoryManager().getImpl(), env.allocator());
}

TYPED_TEST(EnvObject, IsMadeNeitherByPlainNewNorByCopying) {
  EXPECT_FALSE(IsMadeByPlainNew<Plain<TypeParam>>);
  EXPECT_FALSE(std::is_copy_constructible_v<Plain<TypeParam>>);
  EXPECT_FALSE(std::is_copy_assignable_v<Plain<TypeParam>>);
}

TEST(RttiEnvObject, TakesPartInTheTypeSystem) {
  const Plain<VakRttiEnvObjectI> object(nullptr);
  EXPECT_EQ(object.isType(VakRttiEnvObjectI::GetTypeInfo()), 1);
  EXPECT_EQ(object.isType(VakRtti::GetTypeInfo()), 1);
  EXPECT_STREQ(object.getRttiTypeName(), "VakRttiEnvObjectI");
}

}  // namespace
