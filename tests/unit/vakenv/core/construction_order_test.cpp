// The order in which an environment makes and gives back its services. Without pooled memory every
// one of them is a heap block of its own, so the order of blocks is the order of services.

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "tests/support/environment_mode.h"
#include "tests/support/heap_log.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/domains/shared_domain_hash.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/memory/tarn_alloc.h"
#include "vakenv/plugins/plugin_manager.h"
#include "vakenv/registry/clone_manager.h"
#include "vakenv/registry/destroyable.h"
#include "vaksupport/random.h"
#include "vaksupport/symbol_table.h"

namespace {

bool isStrictlyIncreasing(const std::vector<long>& ranks) {
  for (std::size_t i = 1; i < ranks.size(); ++i) {
    if (ranks[i - 1] >= ranks[i]) return false;
  }
  return true;
}

TEST(ConstructionOrder, MakesTheServicesOneAfterTheOther) {
  VakUseUnpooledMemory();
  const auto log = std::make_unique<VakHeapLog>();
  VakEnvI env;
  const std::vector<long> ranks = {
      log->obtainedAt(env._allocator),        log->obtainedAt(env._cloneManager),
      log->obtainedAt(env._destroyables),     log->obtainedAt(env._destroyables->table._buckets),
      log->obtainedAt(env._symbolTable),      log->obtainedAt(env._idManager),
      log->obtainedAt(env._idManager->_data), log->obtainedAt(env._plugInManager),
      log->obtainedAt(env._termAllocator),    log->obtainedAt(env._termAllocator->_list),
      log->obtainedAt(env._intDomains),       log->obtainedAt(env._intDomains->_buckets),
      log->obtainedAt(env._numDomains),       log->obtainedAt(env._numDomains->_buckets)};
  ASSERT_FALSE(log->isFull());
  EXPECT_GT(ranks.front(), 0);
  EXPECT_TRUE(isStrictlyIncreasing(ranks)) << testing::PrintToString(ranks);
}

TEST(ConstructionOrder, TakesSymbolTableAndDomainTablesFromTheEnvironmentsMemory) {
  VakUseUnpooledMemory();
  VakEnvI env;
  const long usage = env.getMemoryUsage();
  EXPECT_EQ(usage, env._memory.getMemoryUsage());
  VakUsePooledMemory();
  const auto log = std::make_unique<VakHeapLog>();
  VakEnvI pooled;
  ASSERT_FALSE(log->isFull());
  const long slab = log->obtainedAt(pooled._symbolTable);
  EXPECT_GT(slab, 0);
  EXPECT_NE(log->entries[static_cast<std::size_t>(slab) - 1].start,
            reinterpret_cast<char*>(pooled._symbolTable));
  for (const void* element : {static_cast<const void*>(pooled._intDomains),
                              static_cast<const void*>(pooled._numDomains)}) {
    const auto rank = static_cast<std::size_t>(log->obtainedAt(element));
    ASSERT_GT(rank, 0U);
    EXPECT_NE(log->entries[rank - 1].start, element);
  }
}

// Steps 2 and 8 to 16 of the end, seen by what they give back last.
TEST(EndOrder, GivesTheServicesBackOneAfterTheOther) {
  VakUseUnpooledMemory();
  const auto log = std::make_unique<VakHeapLog>();
  const auto env = std::make_unique<VakEnvI>();
  env->createRandom();
  env->useMTSafeNormalization(1);
  env->useMTSafeAllocation(1);
  const std::vector<const void*> services = {
      env->_destroyables->table._buckets,
      env->_destroyables,
      env->_idManager->_data,
      env->_intDomains->_buckets,
      env->_intDomains,
      env->_numDomains->_buckets,
      env->_numDomains,
      env->_random,
      env->_plugInManager,
      env->_idManager,
      env->_cloneManager,
      env->_symbolTable,
      env->_termAllocator->_list,
      env->_termAllocator,
      env->_allocator,
      env->_markArray,
      env->_localEnv,
  };
  std::vector<long> ranks(services.size());
  env->end();
  for (std::size_t i = 0; i < services.size(); ++i) ranks[i] = log->givenBackAt(services[i]);
  ASSERT_FALSE(log->isFull());
  EXPECT_GT(ranks.front(), 0);
  EXPECT_TRUE(isStrictlyIncreasing(ranks)) << testing::PrintToString(ranks);
}

}  // namespace
