#include "vaksupport/stack_gen_alloc.h"

#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/scoped_env.h"
#include "vakbase/allocation_stack.h"
#include "vakenv/memory/memory_manager.h"

namespace {

TEST(StackGenAlloc, TakesMemoryFromItsStackAndGivesItBack) {
  VakAllocationStack stack;
  const VakStackGenAlloc allocator(&stack, nullptr);
  void* a = allocator.alloc(32);
  std::memset(a, 1, 32);
  EXPECT_EQ(stack.getMemoryUsage(), 32);
  void* b = allocator.alloc(16);
  EXPECT_EQ(stack.getMemoryUsage(), 48);
  allocator.free(b, 16);
  allocator.free(a, 32);
  EXPECT_EQ(stack.getMemoryUsage(), 0);
  EXPECT_EQ(stack.check(), "");
}

TEST(StackGenAlloc, ReturnsNullForNoBytes) {
  VakAllocationStack stack;
  EXPECT_EQ(VakStackGenAlloc(&stack, nullptr).alloc(0), nullptr);
}

TEST(StackGenAlloc, IgnoresNullAndNoBytesWhenFreeing) {
  VakAllocationStack stack;
  const VakStackGenAlloc allocator(&stack, nullptr);
  void* p = allocator.alloc(32);
  allocator.free(nullptr, 32);
  allocator.free(p, 0);
  EXPECT_EQ(stack.getMemoryUsage(), 32);
  allocator.free(p, 32);
}

TEST(StackGenAlloc, SavesNoValues) {
  VakAllocationStack stack;
  const VakStackGenAlloc allocator(&stack, nullptr);
  void* pointer = &pointer;
  long integer = 1;
  double number = 2.0;
  allocator.saveValue(&pointer);
  allocator.saveValue(&integer);
  allocator.saveValue(&number);
  EXPECT_EQ(pointer, &pointer);
  EXPECT_EQ(integer, 1);
  EXPECT_EQ(number, 2.0);
}

TEST(StackGenAlloc, InternsTextsInItsSymbolTable) {
  const VakScopedEnv env;
  VakAllocationStack stack;
  const VakStackGenAlloc allocator(&stack, env->_symbolTable);
  const char* stored = allocator.intern("demand");
  EXPECT_STREQ(stored, "demand");
  EXPECT_EQ(allocator.intern("demand"), stored);
  EXPECT_EQ(env->intern("demand"), stored);
  EXPECT_EQ(allocator.intern(nullptr), nullptr);
}

TEST(StackGenAlloc, BelongsToNoEnvironment) {
  const VakScopedEnv env;
  VakAllocationStack stack;
  VakStackGenAlloc allocator(&stack, env->_symbolTable);
  EXPECT_EQ(VakGetEnv(&allocator), nullptr);
}

TEST(StackGenAlloc, HoldsItsStackAndItsSymbolTable) {
  const VakScopedEnv env;
  VakAllocationStack stack;
  const VakStackGenAlloc allocator(&stack, env->_symbolTable);
  EXPECT_EQ(allocator.stack, &stack);
  EXPECT_EQ(allocator.symbols, env->_symbolTable);
}

}  // namespace
