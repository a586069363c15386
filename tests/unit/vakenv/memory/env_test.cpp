// The handle of an environment.

#include "vakenv/memory/env.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>

#include "tests/support/scoped_env.h"
#include "vakbase/allocation_stack.h"
#include "vakenv/core/version.h"
#include "vakenv/properties.h"
#include "vakenv/types/exceptions.h"
#include "vaksupport/stack_gen_alloc.h"

namespace {

// What an operation throws as VakEmptyHandleException says; something else when it does not.
template <class Operation>
std::string emptyHandleMessage(Operation operation) {
  try {
    operation();
  } catch (const VakEmptyHandleException& exception) {
    return exception.getMessage();
  } catch (...) {
    return "another exception";
  }
  return "no exception";
}

VakEnv emptyEnv() { return VakEnv(static_cast<VakEnvI*>(nullptr)); }

TEST(Env, CreatesAnEnvironmentByDefault) {
  VakEnv a;
  VakEnv b;
  EXPECT_NE(a.getImpl(), nullptr);
  EXPECT_NE(a.getImpl(), b.getImpl());
  a.end();
  b.end();
}

TEST(Env, IsOnePointerThatCopiesShare) {
  EXPECT_EQ(sizeof(VakEnv), sizeof(void*));
  const VakScopedEnv env;
  const VakEnv copy = env.env;
  VakEnv assigned = emptyEnv();
  assigned = copy;
  EXPECT_EQ(copy.getImpl(), env.impl());
  EXPECT_EQ(assigned.getImpl(), env.impl());
  EXPECT_TRUE(assigned == env.env);
  EXPECT_EQ(VakEnv(env.impl()).getImpl(), env.impl());
}

TEST(Env, EqualsAnotherOfTheSameEnvironmentOnly) {
  const VakScopedEnv a;
  const VakScopedEnv b;
  EXPECT_TRUE(a.env == VakEnv(a.impl()));
  EXPECT_FALSE(a.env == b.env);
  EXPECT_FALSE(a.env == emptyEnv());
  EXPECT_TRUE(emptyEnv() == emptyEnv());
}

TEST(Env, IsNotMadeFromAPointerOrAManagerBySurprise) {
  EXPECT_FALSE((std::is_convertible_v<VakEnvI*, VakEnv>));
  EXPECT_FALSE((std::is_convertible_v<VakMemoryManager, VakEnv>));
}

TEST(Env, IsFoundByItsOwnMemoryManager) {
  const VakScopedEnv env;
  const VakEnv found(env.env.getMemoryManager());
  EXPECT_TRUE(found == env.env);
  EXPECT_TRUE(VakEnv(VakMemoryManager(env.allocator())) == env.env);
}

TEST(Env, StandsForItsMemoryManager) {
  const VakScopedEnv env;
  const VakMemoryManager manager = env.env;
  EXPECT_EQ(manager.getImpl(), env.allocator());
}

TEST(Env, OfAStackAllocatorDoesNotExist) {
  VakAllocationStack stack;
  VakStackGenAlloc allocator(&stack, nullptr);
  try {
    const VakEnv env{VakMemoryManager(&allocator)};
    FAIL() << "nothing was thrown";
  } catch (const VakEnv::IncompatibleMemoryManagerException& exception) {
    EXPECT_STREQ(exception.getMessage(), "Incompatible memory manager");
  }
}

TEST(Env, OfAnEmptyManagerDoesNotExist) {
  EXPECT_THROW(VakEnv{VakMemoryManager()}, VakEnv::IncompatibleMemoryManagerException);
}

TEST(Env, IsEmptyAfterItsEnd) {
  VakEnv env;
  env.end();
  EXPECT_EQ(env.getImpl(), nullptr);
  EXPECT_EQ(emptyHandleMessage([&] { env.end(); }), "VakEnv: Using empty handle");
}

TEST(Env, KeepsItsEnvironmentWhenAnotherHandleGoes) {
  const VakScopedEnv env;
  auto copy = std::make_unique<VakEnv>(env.env);
  copy.reset();
  EXPECT_GE(env.env.getMemoryUsage(), 0);
}

TEST(Env, ForwardsUsageAndVersion) {
  const VakScopedEnv env;
  EXPECT_EQ(env.env.getMemoryUsage(), env->getMemoryUsage());
  EXPECT_EQ(env.env.getTotalMemoryUsage(), env->getTotalMemoryUsage());
  EXPECT_EQ(env.env.getIdManagerMemoryUsage(), env->getIdManagerMemoryUsage());
  EXPECT_EQ(env.env.getVersion(), VakTarnVersion::_identification);
}

TEST(Env, ForwardsTheSwitchesOfThreadSafeMode) {
  const VakScopedEnv env;
  env.env.useMTSafeAllocation(1);
  env.env.useMTSafeNormalization(1);
  EXPECT_EQ(env->_mtSafeAllocation, 1);
  EXPECT_EQ(env->_mtSafeNormalization, 1);
  env.env.useMTSafeAllocation(0);
  env.env.useMTSafeNormalization(0);
  EXPECT_EQ(env->_mtSafeAllocation, 0);
  EXPECT_EQ(env->_mtSafeNormalization, 0);
}

TEST(Env, ForwardsSymbolsAndTheRandomGenerator) {
  const VakScopedEnv env;
  EXPECT_EQ(env.env.getSymbol("flow"), nullptr);
  VakSymbolI* symbol = env.env.makeSymbol("flow");
  EXPECT_NE(symbol, nullptr);
  EXPECT_EQ(env.env.getSymbol("flow"), symbol);
  EXPECT_EQ(env->getSymbol("flow"), symbol);
  VakUniqueRandomI* random = env.env.getRandom();
  EXPECT_EQ(env.env.getRandom(), random);
  EXPECT_EQ(env->_random, random);
}

TEST(EmptyEnv, NamesItselfInTheOperationsOfTheEnvironment) {
  VakEnv env = emptyEnv();
  const std::string message = "VakEnv: Using empty handle";
  EXPECT_EQ(emptyHandleMessage([&] { env.end(); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { static_cast<void>(env.getMemoryManager()); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { static_cast<void>(VakMemoryManager(env)); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { static_cast<void>(env.getMemoryUsage()); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { static_cast<void>(env.getTotalMemoryUsage()); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { static_cast<void>(env.getIdManagerMemoryUsage()); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { static_cast<void>(env.getVersion()); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { env.useMTSafeAllocation(1); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { env.useMTSafeNormalization(1); }), message);
}

TEST(EmptyEnv, UsesTheDefaultMessageForSymbolsAndRandomNumbers) {
  const VakEnv env = emptyEnv();
  const std::string message = "Using empty handle.";
  EXPECT_EQ(emptyHandleMessage([&] { static_cast<void>(env.getSymbol("a")); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { env.makeSymbol("a"); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { static_cast<void>(env.getRandom()); }), message);
}

TEST(EmptyEnv, NamesItselfInTheOperationsOfPropertiesBeforeAnythingElse) {
  const VakEnv env = emptyEnv();
  const std::string message = "VakEnv: Using empty handle";
  const VakNamedProperty property;
  const VakNamedPropertySet set;
  EXPECT_EQ(emptyHandleMessage([&] { static_cast<void>(env.getName()); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { env.setName("a"); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { static_cast<void>(env.getObject()); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { env.setObject(nullptr); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { static_cast<void>(env.getProperties()); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { env.setProperties(set); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { static_cast<void>(env.hasProperty(nullptr)); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { static_cast<void>(env.getProperty(nullptr)); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { static_cast<void>(env.getPropertyI(nullptr)); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { env.addProperty(property); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { env.addClonedProperty(property); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { env.addProperties(set); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { env.removeProperty(nullptr); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { env.removeAllProperties(); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { static_cast<void>(env.getIntProperty(nullptr)); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { static_cast<void>(env.getNumProperty(nullptr)); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { static_cast<void>(env.getAnyProperty(nullptr)); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { static_cast<void>(env.getStringProperty(nullptr)); }),
            message);
  EXPECT_EQ(emptyHandleMessage([&] { env.setIntProperty(nullptr, 1); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { env.setNumProperty(nullptr, 1.0); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { env.setAnyProperty(nullptr, nullptr); }), message);
  EXPECT_EQ(emptyHandleMessage([&] { env.setStringProperty(nullptr, nullptr); }), message);
}

}  // namespace
