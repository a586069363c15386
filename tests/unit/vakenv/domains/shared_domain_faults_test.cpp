// Every request for memory fails once while a shared domain is made.

#include <gtest/gtest.h>

#include <functional>
#include <new>

#include "tests/support/environment_mode.h"
#include "tests/support/failing_new.h"
#include "tests/support/scoped_env.h"
#include "vakenv/core/create.h"
#include "vakenv/domains/shared_domain_hash.h"

namespace {

/// An environment whose every element comes from the general heap.
class SharedDomainFaults : public testing::Test {
 protected:
  SharedDomainFaults() { VakUseUnpooledMemory(); }

  /// Lets each request of `attempt` fail in turn and finds the environment unchanged each time.
  /// Returns the number of failures.
  long failEach(VakEnvI* env, const std::function<void()>& attempt) {
    const VakInt usage = env->getMemoryUsage();
    const VakInt numbers = env->_numDomains->_nbItems;
    const VakInt integers = env->_intDomains->_nbItems;
    return VakFailEachNew(attempt, [&](const std::exception_ptr& thrown) {
      EXPECT_TRUE(VakIsException<std::bad_alloc>(thrown));
      EXPECT_EQ(env->getMemoryUsage(), usage);
      EXPECT_EQ(env->_numDomains->_nbItems, numbers);
      EXPECT_EQ(env->_intDomains->_nbItems, integers);
      EXPECT_EQ(env->_numDomains->check(), "");
      EXPECT_EQ(env->_intDomains->check(), "");
    });
  }
};

TEST_F(SharedDomainFaults, LeaveNeitherRangeNorDomain) {
  const VakScopedEnv env;
  VakEnvI* impl = env.impl();
  VakNumRangeI numbers(impl, 3, 4);
  VakIntRangeI integers(impl, 3, 4);
  EXPECT_GE(failEach(impl, [&] { impl->getOrMakeSharedDomain(1.0, 2.0); }), 3);
  EXPECT_GE(failEach(impl, [&] { impl->getOrMakeSharedDomain(1L, 2L); }), 3);
  EXPECT_GE(failEach(impl, [&] { impl->getOrMakeSharedDomain(0L, 1L); }), 3);
  EXPECT_GE(failEach(impl, [&] { impl->getOrMakeSharedDomain(&numbers); }), 3);
  EXPECT_GE(failEach(impl, [&] { impl->getOrMakeSharedDomain(&integers); }), 3);
  EXPECT_EQ(impl->_numDomains->_nbItems, 2);
  EXPECT_EQ(impl->_intDomains->_nbItems, 3);
}

TEST_F(SharedDomainFaults, LeaveNothingOfARequestThatFailsWhileTheTableGrows) {
  const VakScopedEnv env;
  VakEnvI* impl = env.impl();
  for (VakInt i = 0; i < 62; ++i) impl->getOrMakeSharedDomain(0L, i);
  ASSERT_EQ(impl->_intDomains->_size, 31);
  EXPECT_GE(failEach(impl, [&] { impl->getOrMakeSharedDomain(0L, 62L); }), 4);
  EXPECT_EQ(impl->_intDomains->_size, 62);
  EXPECT_EQ(impl->_intDomains->_nbItems, 63);
}

TEST_F(SharedDomainFaults, LeaveNothingOfATemporaryRangeForKnownBounds) {
  const VakScopedEnv env;
  VakEnvI* impl = env.impl();
  const VakVarDomainI* domain = impl->getOrMakeSharedDomain(1.0, 2.0);
  EXPECT_GE(failEach(impl, [&] { EXPECT_EQ(impl->getOrMakeSharedDomain(1.0, 2.0), domain); }), 1);
}

TEST_F(SharedDomainFaults, LeaveNothingWhenTheHashFunctionFails) {
  const VakScopedEnv env;
  VakEnvI* impl = env.impl();
  const VakInt usage = impl->getMemoryUsage();
  impl->_numDomains->_hash = [](VakNumRangeI*, VakInt size) { return size; };
  EXPECT_THROW(impl->getOrMakeSharedDomain(1.0, 2.0), VakWrongUsage);
  EXPECT_EQ(impl->getMemoryUsage(), usage);
  impl->_numDomains->_hash = VakNumDomainHashFunction;
}

TEST_F(SharedDomainFaults, LeaveNothingWhenTheCallersRangeGivesNoKey) {
  struct Keyless : VakIntRangeI {
    using VakIntRangeI::VakIntRangeI;
    VakIntRangeI* makeKey(VakEnvI* /*env*/) const override { throw VakWrongUsage("no key"); }
  };
  const VakScopedEnv env;
  VakEnvI* impl = env.impl();
  const VakInt usage = impl->getMemoryUsage();
  Keyless range(impl, 1, 2);
  EXPECT_THROW(impl->getOrMakeSharedDomain(&range), VakWrongUsage);
  EXPECT_EQ(impl->getMemoryUsage(), usage);
  EXPECT_EQ(impl->_intDomains->_nbItems, 0);
}

}  // namespace
