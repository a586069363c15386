// Objects that give their memory back to their memory manager.

#include "vakenv/memory/memory_manager_object.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "tests/support/checking_allocator.h"
#include "tests/support/scoped_env.h"
#include "vakbase/allocation_stack.h"
#include "vakenv/memory/create.h"
#include "vakenv/memory/env.h"
#include "vaksupport/stack_gen_alloc.h"

namespace {

// The same tests for both forms.
template <class Base>
class Plain : public Base {
 public:
  explicit Plain(VakMemoryManager manager) : Base(manager) {}
};

template <class Base>
class Larger : public Plain<Base> {
 public:
  explicit Larger(VakMemoryManager manager) : Plain<Base>(manager) {}
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
  explicit Second(VakMemoryManager manager) : Base(manager) {}
  using Base::operator delete;
  using Base::operator new;
};

// Everything about its deletion can be known to the compiler.
template <class Base>
class Final final : public Plain<Base> {
 public:
  explicit Final(VakMemoryManager manager) : Plain<Base>(manager) {}
  ~Final() override { _numbers[0] = 0; }

 private:
  long _numbers[2] = {1, 2};
};

template <class Base>
class FailsToBegin : public Base {
 public:
  explicit FailsToBegin(VakMemoryManager manager) : Base(manager) { throw 1; }
};

template <class Base>
class FailsToEnd : public Base {
 public:
  explicit FailsToEnd(VakMemoryManager manager) : Base(manager) {}
  ~FailsToEnd() override { throw 2; }
};

// One block was taken, and came back with its address and its size.
void expectGivenBack(const VakCheckingAllocator& allocator) {
  EXPECT_EQ(allocator.ledger.requests, 1);
  EXPECT_EQ(allocator.ledger.countBlocks(), 0);
  EXPECT_EQ(allocator.ledger.mismatches, 0);
}

template <class T>
concept IsMadeByPlainNew = requires {
  T::operator new(sizeof(T));
};

template <class Base>
class MemoryManagerObject : public testing::Test {};

using Bases = testing::Types<VakMemoryManagerObjectI, VakRttiMemoryManagerObjectI>;
TYPED_TEST_SUITE(MemoryManagerObject, Bases);

TYPED_TEST(MemoryManagerObject, GivesItsMemoryBackWithItsSize) {
  VakCheckingAllocator allocator;
  delete VakCreate<Plain<TypeParam>>(VakMemoryManager(&allocator));
  expectGivenBack(allocator);
}

TYPED_TEST(MemoryManagerObject, GivesTheWholeObjectBackWhenDeletedThroughItsBase) {
  VakCheckingAllocator allocator;
  TypeParam* object = VakCreate<Larger<TypeParam>>(VakMemoryManager(&allocator));
  delete object;
  expectGivenBack(allocator);
}

TYPED_TEST(MemoryManagerObject, GivesItsMemoryBackWhenTheCompilerKnowsItsType) {
  const VakScopedEnv env;
  const long usage = env->getMemoryUsage();
  auto* object = VakCreate<Final<TypeParam>>(env.env.getMemoryManager());
  delete object;
  TypeParam* base = VakCreate<Final<TypeParam>>(env.env.getMemoryManager());
  delete base;
  EXPECT_EQ(env->getMemoryUsage(), usage);
  VakCheckingAllocator allocator;
  auto* other = VakCreate<Final<TypeParam>>(VakMemoryManager(&allocator));
  delete other;
  expectGivenBack(allocator);
}

TYPED_TEST(MemoryManagerObject, GivesTheWholeObjectBackWhenItsBaseIsNotTheFirst) {
  VakCheckingAllocator allocator;
  auto* object = VakCreate<Second<TypeParam>>(VakMemoryManager(&allocator));
  TypeParam* base = object;
  ASSERT_NE(static_cast<void*>(base), static_cast<void*>(object));
  delete base;
  expectGivenBack(allocator);
}

TYPED_TEST(MemoryManagerObject, GivesItsMemoryBackWhenItsOwnTypeIsDeleted) {
  VakCheckingAllocator allocator;
  delete VakCreate<Second<TypeParam>>(VakMemoryManager(&allocator));
  expectGivenBack(allocator);
}

TYPED_TEST(MemoryManagerObject, GivesItsMemoryBackWhenItsConstructorThrows) {
  VakCheckingAllocator allocator;
  EXPECT_THROW(static_cast<void>(VakCreate<FailsToBegin<TypeParam>>(VakMemoryManager(&allocator))),
               int);
  expectGivenBack(allocator);
}

TYPED_TEST(MemoryManagerObject, LeavesItsStorageAloneWhenItsDestructorThrows) {
  VakCheckingAllocator allocator;
  auto* object = VakCreate<FailsToEnd<TypeParam>>(VakMemoryManager(&allocator));
  EXPECT_THROW(delete object, int);
  EXPECT_EQ(allocator.ledger.countBlocks(), 1);
  EXPECT_EQ(allocator.ledger.mismatches, 0);
}

TYPED_TEST(MemoryManagerObject, GivesNothingBackWhenItLivesInAnotherPlace) {
  VakCheckingAllocator allocator;
  { const Larger<TypeParam> object{VakMemoryManager(&allocator)}; }
  alignas(16) unsigned char place[sizeof(Larger<TypeParam>)];
  auto* object = new (place) Larger<TypeParam>(VakMemoryManager(&allocator));
  object->~Larger();
  EXPECT_EQ(allocator.ledger.requests, 0);
  EXPECT_EQ(allocator.ledger.mismatches, 0);
}

TYPED_TEST(MemoryManagerObject, TakesBackStorageFromTheManagerThatItHolds) {
  VakCheckingAllocator allocator;
  auto* object = VakCreate<Plain<TypeParam>>(VakMemoryManager(&allocator));
  TypeParam::operator delete(object, 16UL);
  expectGivenBack(allocator);
}

TYPED_TEST(MemoryManagerObject, IsMadeNeitherByPlainNewNorByCopying) {
  EXPECT_FALSE(IsMadeByPlainNew<Plain<TypeParam>>);
  EXPECT_FALSE(std::is_copy_constructible_v<Plain<TypeParam>>);
  EXPECT_FALSE(std::is_copy_assignable_v<Plain<TypeParam>>);
}

TYPED_TEST(MemoryManagerObject, HoldsTheManagerAndFindsItsEnvironment) {
  const VakScopedEnv env;
  auto* object = VakCreate<Plain<TypeParam>>(env.env.getMemoryManager());
  EXPECT_EQ(object->_memoryManager, env.allocator());
  EXPECT_TRUE(object->getEnv() == env.env);
  delete object;
}

TYPED_TEST(MemoryManagerObject, OfAStackAllocatorHasNoEnvironment) {
  VakAllocationStack stack;
  VakStackGenAlloc allocator(&stack, nullptr);
  auto* object = VakCreate<Plain<TypeParam>>(VakMemoryManager(&allocator));
  try {
    static_cast<void>(object->getEnv());
    FAIL() << "nothing was thrown";
  } catch (const VakEnv::IncompatibleMemoryManagerException& exception) {
    EXPECT_STREQ(exception.getMessage(), "Incompatible memory manager");
  }
  delete object;
  EXPECT_EQ(stack.getMemoryUsage(), 0);
}

TYPED_TEST(MemoryManagerObject, WithoutAManagerHasNoEnvironment) {
  const Plain<TypeParam> object{VakMemoryManager()};
  EXPECT_THROW(static_cast<void>(object.getEnv()), VakEnv::IncompatibleMemoryManagerException);
}

TYPED_TEST(MemoryManagerObject, BalancesTheUsageOfAnEnvironment) {
  const VakScopedEnv env;
  const long usage = env->getMemoryUsage();
  TypeParam* larger = VakCreate<Larger<TypeParam>>(env.env.getMemoryManager());
  auto* plain = VakCreate<Plain<TypeParam>>(env.env.getMemoryManager());
  EXPECT_EQ(env->getMemoryUsage(), usage + 40 + 16);
  delete plain;
  delete larger;
  EXPECT_EQ(env->getMemoryUsage(), usage);
}

TEST(RttiMemoryManagerObject, FreesNothingWithoutAManager) {
  alignas(16) unsigned char place[sizeof(Plain<VakRttiMemoryManagerObjectI>)];
  auto* object = new (place) Plain<VakRttiMemoryManagerObjectI>(VakMemoryManager());
  delete object;
  object = new (place) Plain<VakRttiMemoryManagerObjectI>(VakMemoryManager());
  VakRttiMemoryManagerObjectI::operator delete(object, 16UL);
}

TEST(PlainMemoryManagerObjectDeathTest, DoesNotTestForANullManager) {
  alignas(16) unsigned char place[sizeof(Plain<VakMemoryManagerObjectI>)];
  auto* object = new (place) Plain<VakMemoryManagerObjectI>(VakMemoryManager());
  EXPECT_DEATH(delete object, "");
}

TEST(RttiMemoryManagerObject, TakesPartInTheTypeSystem) {
  const Plain<VakRttiMemoryManagerObjectI> object{VakMemoryManager()};
  EXPECT_EQ(object.isType(VakRttiMemoryManagerObjectI::GetTypeInfo()), 1);
  EXPECT_EQ(object.isType(VakRtti::GetTypeInfo()), 1);
  EXPECT_STREQ(object.getRttiTypeName(), "VakRttiMemoryManagerObjectI");
}

}  // namespace
