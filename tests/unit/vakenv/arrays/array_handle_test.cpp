#include <gtest/gtest.h>

#include <cstring>
#include <sstream>
#include <type_traits>

#include "tests/unit/vakenv/arrays/array_test_tools.h"
#include "vakenv/arrays/array.h"

namespace {

template <class Handle>
class ArrayHandleKind : public testing::Test {};
using Handles = testing::Types<VakArray<long>, VakArray<double>, VakArray<void*>, VakNumArray,
                               VakIntArray, VakBoolArray, VakNumArray2, VakIntArray2>;
TYPED_TEST_SUITE(ArrayHandleKind, Handles);

TYPED_TEST(ArrayHandleKind, IsOnePointerThatIsCopiedFreely) {
  using Element = typename TypeParam::value_type;
  EXPECT_EQ(sizeof(TypeParam), sizeof(void*));
  EXPECT_TRUE(std::is_trivially_copyable_v<TypeParam>);
  EXPECT_TRUE((std::is_same_v<decltype(std::declval<const TypeParam>()[0L]), Element&>));
  EXPECT_TRUE((std::is_same_v<decltype(std::declval<const TypeParam>().data(0L)), Element&>));
}

TYPED_TEST(ArrayHandleKind, ConvertsNeitherToAPointerNorToATruthValue) {
  EXPECT_FALSE((std::is_convertible_v<TypeParam, void*>));
  EXPECT_FALSE((std::is_convertible_v<TypeParam, VakArrayI*>));
  EXPECT_FALSE((std::is_convertible_v<TypeParam, bool>));
  EXPECT_FALSE((std::is_constructible_v<bool, TypeParam>));
}

TYPED_TEST(ArrayHandleKind, IsEmptyByDefaultAndFromNull) {
  EXPECT_EQ(TypeParam().getImpl(), nullptr);
  EXPECT_EQ(TypeParam(static_cast<VakArrayI*>(nullptr)).getImpl(), nullptr);
  EXPECT_TRUE(TypeParam() == TypeParam());
}

TYPED_TEST(ArrayHandleKind, EndOfAnEmptyHandleDoesNothing) {
  TypeParam handle;
  handle.end();
  handle.end();
  EXPECT_EQ(handle.getImpl(), nullptr);
}

TYPED_TEST(ArrayHandleKind, EndDeletesTheArrayAndEmptiesTheHandle) {
  VakArrayMemory manager;
  TypeParam handle(VakCreate<VakArrayI>(&manager, 20L, 8L));
  handle.end();
  EXPECT_EQ(handle.getImpl(), nullptr);
  EXPECT_EQ(manager.getBlockCount(), 0);
  handle.end();
}

TYPED_TEST(ArrayHandleKind, IsEqualWhenItHoldsTheSameArray) {
  VakArrayMemory manager;
  TypeParam a(VakCreate<VakArrayI>(&manager, 2L, 8L));
  TypeParam b(VakCreate<VakArrayI>(&manager, 2L, 8L));
  TypeParam same = a;
  EXPECT_TRUE(a == same);
  EXPECT_TRUE(a != b);
  a.end();
  b.end();
}

TYPED_TEST(ArrayHandleKind, ConstructionInAnEnvironmentNeedsOne) {
  const auto make = [] { TypeParam handle(VakEnv(static_cast<VakEnvI*>(nullptr)), 3); };
  EXPECT_EQ(VakMessageOf<VakEmptyHandleException>(make), "VakEnv: Using empty handle");
}

TEST(ArrayHandle, AddStoresBehindTheLastElement) {
  VakArrayMemory manager;
  VakArray<void*> array(VakMemoryManager(&manager), 0);
  int targets[100];
  for (int& target : targets) array.add(&target);
  ASSERT_EQ(array.getSize(), 100);
  for (long i = 0; i < 100; ++i) EXPECT_EQ(array[i], &targets[i]);
  EXPECT_EQ(&array.data(57), &array[57]);
  array.end();
}

TEST(ArrayHandle, CopiesShareTheElements) {
  VakArrayMemory manager;
  VakIntArray array(VakMemoryManager(&manager), 3);
  const VakIntArray copy = array;
  copy[1] = 5;
  copy.add(6);
  EXPECT_EQ(array[1], 5);
  EXPECT_EQ(array.getSize(), 4);
  array.end();
}

TEST(ArrayHandle, ServesSmallElements) {
  VakArrayMemory manager;
  VakArray<char> array(VakMemoryManager(&manager), 0);
  for (const char c : std::string("a text of some length")) array.add(c);
  array.remove(1, 5);
  EXPECT_EQ(array.getImpl()->_elementSize, 1);
  EXPECT_EQ(std::string(begin(array), end(array)), "a of some length");
  array.end();
}

TEST(ArrayHandle, RemoveAndClearActOnTheArray) {
  VakArrayMemory manager;
  VakIntArray array = VakIntArray::From(&manager, {1, 2, 3, 4});
  array.remove(1, 2);
  EXPECT_EQ(VakElements(array), std::vector<long>({1, 4}));
  EXPECT_EQ(VakMessageOf<VakArrayError>([&] { array.remove(1, 2); }),
            "Trying to remove to much elements");
  array.clear();
  EXPECT_EQ(array.getSize(), 0);
  EXPECT_EQ(array.getImpl()->_max, 0);
  array.end();
}

class ArrayHandleInEnv : public VakArrayEnvTest {};

TEST_F(ArrayHandleInEnv, MakesZeroElementsInTheMemoryOfTheEnvironment) {
  const long before = env.getMemoryUsage();
  VakArray<void*> array(env, 5);
  EXPECT_EQ(array.getImpl()->_memoryManager, env.getMemoryManager().getImpl());
  EXPECT_EQ(array.getImpl()->_elementSize, 8);
  EXPECT_EQ(VakElements(array), std::vector<void*>(5, nullptr));
  EXPECT_GT(env.getMemoryUsage(), before);
  array.end();
  EXPECT_EQ(env.getMemoryUsage(), before);
}

TEST_F(ArrayHandleInEnv, KnowsItsEnvironment) {
  VakArray<double> array(env, 0);
  array.add(1.5);
  EXPECT_TRUE(array.getEnv() == env);
  EXPECT_EQ(array[0], 1.5);
}

TEST_F(ArrayHandleInEnv, StorageFormsOfTheEngineTakeTheEnvironmentsAllocator) {
  VakGenAlloc* const allocator = env.getMemoryManager().getImpl();
  const auto place = [&] { return allocator->alloc(sizeof(VakArrayI)); };
  auto* const made = ::new (place()) VakArrayI(env.getImpl(), 3L, 8L);
  auto* const copy = ::new (place()) VakArrayI(env.getImpl(), made);
  auto** table = static_cast<char**>(allocator->alloc(sizeof(char*)));
  table[0] = static_cast<char*>(allocator->alloc(8));
  auto* const adopted = ::new (place()) VakArrayI(env.getImpl(), 1L, 1L, 0L, 0L, 8L, table);
  for (VakArrayI* array : {made, copy, adopted}) {
    EXPECT_EQ(array->_memoryManager, allocator);
    EXPECT_EQ(array->check(), "");
    EXPECT_TRUE(array->getEnv() == env);
    delete array;
  }
}

TEST_F(ArrayHandleInEnv, GrowsToManyElementsAndGivesTheirMemoryBack) {
  const long before = env.getMemoryUsage();
  VakIntArray array(env, 0);
  for (long i = 0; i < 100000; ++i) array.add(i);
  for (long i = 0; i < 100000; ++i) ASSERT_EQ(array[i], i);
  array.end();
  EXPECT_EQ(env.getMemoryUsage(), before);
}

TEST_F(ArrayHandleInEnv, WhatIsNotEndedGoesWithTheEnvironment) {
  VakIntArray array(env, 1000);
  EXPECT_EQ(array.getSize(), 1000);
}

}  // namespace
