// What a fresh environment looks like, member by member.

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>

#include "tests/support/counting_mutex.h"
#include "tests/support/environment_mode.h"
#include "tests/support/scoped_env.h"
#include "vakenv/core/version.h"
#include "vakenv/domains/shared_domain_hash.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/plugins/plugin_manager.h"
#include "vakenv/registry/clone_manager.h"
#include "vakenv/registry/destroyable.h"
#include "vaksupport/symbol_table.h"

namespace {

TEST(FreshEnvironment, PoolsItsMemoryWhenTheVariableIsNotSet) {
  VakUsePooledMemory();
  const VakScopedEnv env;
  EXPECT_EQ(env->_flags, 1);
  EXPECT_EQ(env->_useMemoryManager, 1);
  EXPECT_EQ(env->_memoryMode, 1);
  EXPECT_NE(env->_memory._allocators[0]->_pooled, 0);
  EXPECT_NE(env->_termAllocator->_pooled, 0);
  EXPECT_EQ(env->_termAllocator->_list, nullptr);
}

TEST(FreshEnvironment, DoesNotPoolItsMemoryWhateverTheVariableIsSetTo) {
  for (const char* value : {"", "0", "1", "no"}) {
    setenv("VAK_NO_MEMORY_MANAGER", value, 1);
    const VakScopedEnv env;
    EXPECT_EQ(env->_flags, 0) << value;
    EXPECT_EQ(env->_useMemoryManager, 0) << value;
    EXPECT_EQ(env->_memoryMode, 0) << value;
    EXPECT_EQ(env->_memory._allocators[0]->_pooled, 0) << value;
    EXPECT_EQ(env->_termAllocator->_pooled, 0) << value;
    EXPECT_NE(env->_termAllocator->_list, nullptr) << value;
  }
}

TEST(FreshEnvironment, KeepsItsModeWhenTheVariableChangesLater) {
  VakUsePooledMemory();
  const VakScopedEnv env;
  VakUseUnpooledMemory();
  EXPECT_EQ(env->_useMemoryManager, 1);
  void* p = env.allocator()->alloc(8);
  EXPECT_EQ(env->_memory._allocators[0]->_bytesObtained, 0);
  env.allocator()->free(p, 8);
}

TEST(FreshEnvironment, IsNeitherThreadSafeNorLendsMarks) {
  const VakScopedEnv env;
  EXPECT_EQ(env->_localEnv, nullptr);
  EXPECT_EQ(env->_mtSafeAllocation, 0);
  EXPECT_EQ(env->_mtSafeNormalization, 0);
  EXPECT_EQ(env->_markArray, nullptr);
}

TEST(FreshEnvironment, HasAnEmptySymbolTableInItsOwnMemory) {
  const VakScopedEnv env;
  ASSERT_NE(env->_symbolTable, nullptr);
  EXPECT_EQ(env->_symbolTable->_env, env.impl());
  EXPECT_EQ(env->_symbolTable->getSize(), 0);
  EXPECT_EQ(env->_symbolTable->_table._size, 31);
}

TEST(FreshEnvironment, LeavesTheMembersItDoesNotUseNull) {
  const VakScopedEnv env;
  EXPECT_EQ(env->_unusedPointer1, nullptr);
  EXPECT_EQ(env->_unusedPointer2, nullptr);
  EXPECT_EQ(env->_unusedPointer3, nullptr);
  EXPECT_EQ(env->_unusedPointer4, nullptr);
  EXPECT_EQ(env->_unusedPointer5, nullptr);
  EXPECT_EQ(env->_unusedPointer6, nullptr);
  EXPECT_EQ(env->_unusedPointer7, nullptr);
  EXPECT_EQ(env->_unusedPointer8, nullptr);
  EXPECT_EQ(env->_unusedPointer9, nullptr);
}

TEST(FreshEnvironment, HasAnIdentifierManagerOverItsPool) {
  const VakScopedEnv env;
  ASSERT_NE(env->_idManager, nullptr);
  EXPECT_EQ(env->_idManager->_memory, &env->_memory);
  EXPECT_EQ(env->_idManager->_size, 0);
  EXPECT_EQ(env->getIdManagerMemoryUsage(), 256 * 8);
}

TEST(FreshEnvironment, HasNoTypedListsAndNoAlgorithms) {
  const VakScopedEnv env;
  EXPECT_FALSE(env->_typedLists.isOn());
  EXPECT_EQ(env->_algorithms, nullptr);
}

TEST(FreshEnvironment, HasAPoolForTermsOfTwentyFourBytes) {
  const VakScopedEnv env;
  EXPECT_EQ(env->_termSize, 24);
  ASSERT_NE(env->_termAllocator, nullptr);
  EXPECT_EQ(env->_termAllocator->_elementSize, 24);
  EXPECT_EQ(env->_termAllocator->_bytesInUse, 0);
  EXPECT_EQ(env->_termAllocator->_free, nullptr);
}

TEST(FreshEnvironment, HasAnEmptyPlugInManager) {
  const VakScopedEnv env;
  ASSERT_NE(env->_plugInManager, nullptr);
  EXPECT_EQ(env->_plugInManager->env, env.impl());
  EXPECT_EQ(env->_plugInManager->first, nullptr);
  EXPECT_EQ(env->_plugInManager->notified, nullptr);
}

TEST(FreshEnvironment, WritesToTheStandardStreams) {
  const VakScopedEnv env;
  EXPECT_EQ(env->_out, &std::cout);
  EXPECT_EQ(env->_warning, &std::cerr);
  EXPECT_EQ(env->_error, &std::cerr);
}

TEST(FreshEnvironment, HasANullStreamThatIsGood) {
  const VakScopedEnv env;
  EXPECT_TRUE(env->_nullStream.good());
}

TEST(FreshEnvironment, HasARunningTimerWithoutAMemoryManager) {
  const VakScopedEnv env;
  EXPECT_EQ(env->_timer._memoryManager, nullptr);
  EXPECT_EQ(env->_timer._accumulated, 0.0);
  EXPECT_GE(env->_timer._startTime, 0.0);
  EXPECT_EQ(env->_timer._running, 1);
}

TEST(FreshEnvironment, HasACloneManagerAndAnEmptyListOfDestroyables) {
  const VakScopedEnv env;
  EXPECT_NE(env->_cloneManager, nullptr);
  ASSERT_NE(env->_destroyables, nullptr);
  EXPECT_EQ(env->_destroyables->env, env.impl());
  EXPECT_EQ(env->_destroyables->first, nullptr);
  EXPECT_EQ(env->_destroyables->table._size, 1);
  EXPECT_EQ(env->_destroyables->table._nbItems, 0);
}

TEST(FreshEnvironment, HasNoDeleterAndIsNotEnding) {
  const VakScopedEnv env;
  EXPECT_EQ(env->_deleter, nullptr);
  EXPECT_EQ(env->_deleterLevel, 0);
  EXPECT_EQ(env->_ending, 0);
  EXPECT_EQ(env->_recycleBin, nullptr);
}

TEST(FreshEnvironment, MakesRandomGeneratorExpanderAndExtensionOnlyOnDemand) {
  const VakScopedEnv env;
  EXPECT_EQ(env->_random, nullptr);
  EXPECT_EQ(env->_expander, nullptr);
  EXPECT_EQ(env->_extension, nullptr);
}

TEST(FreshEnvironment, HasItsOwnAllocator) {
  const VakScopedEnv env;
  ASSERT_NE(env->_allocator, nullptr);
  EXPECT_EQ(env->_allocator->env, env.impl());
}

TEST(FreshEnvironment, CopiesTheMutexThatIsInstalled) {
  const VakScopedEnv before;
  VakCountingMutex mutex;
  VakInitMT(&mutex);
  const VakScopedEnv during;
  VakEndMT();
  const VakScopedEnv after;
  EXPECT_EQ(before->_mutex, nullptr);
  EXPECT_EQ(during->_mutex, &mutex);
  EXPECT_EQ(after->_mutex, nullptr);
}

TEST(FreshEnvironment, HasTablesOfSharedDomainsWithThirtyOneBuckets) {
  const VakScopedEnv env;
  ASSERT_NE(env->_intDomains, nullptr);
  ASSERT_NE(env->_numDomains, nullptr);
  EXPECT_EQ(env->_intDomains->_size, 31);
  EXPECT_EQ(env->_numDomains->_size, 31);
  EXPECT_NE(env->_intDomains->_buckets, nullptr);
  EXPECT_NE(env->_numDomains->_buckets, nullptr);
  EXPECT_EQ(env->_intDomains->_env, env.impl());
  EXPECT_EQ(env->_numDomains->_env, env.impl());
}

TEST(FreshEnvironment, UsesWhatItsPoolUsesAndNoTermBytes) {
  const VakScopedEnv env;
  EXPECT_EQ(env->getMemoryUsage(), env->_memory.getMemoryUsage());
  EXPECT_EQ(env->getTotalMemoryUsage(), env->_memory.getTotalMemoryUsage());
  EXPECT_GE(env->getTotalMemoryUsage(), env->getMemoryUsage());
  EXPECT_EQ(env->_memory.check({env->_termAllocator}), "");
}

TEST(FreshEnvironment, GivesTheIdentificationString) {
  const VakScopedEnv env;
  EXPECT_EQ(env->getVersion(), env->_version);
  EXPECT_EQ(env->_version, VakTarnVersion::_identification);
}

TEST(FreshEnvironment, TakesNoTypeIndex) {
  const VakScopedEnv env;
  EXPECT_EQ(VakRtti::_counter, 0);
}

TEST(MemoryUsage, AddsTheTermsToThePool) {
  const VakScopedEnv env;
  const long usage = env->getMemoryUsage();
  const long pool = env->_memory.getMemoryUsage();
  VakNumLinExprTermI* term = env->newTerm(nullptr, 1.0);
  EXPECT_EQ(env->getMemoryUsage(), usage + 24);
  EXPECT_EQ(env->_memory.getMemoryUsage(), pool);
  EXPECT_GE(env->getTotalMemoryUsage(), env->getMemoryUsage());
  env->recycleTerm(term);
  EXPECT_EQ(env->getMemoryUsage(), usage);
}

TEST(MemoryUsage, CountsTermsObtainedThroughTheListOnce) {
  VakUseUnpooledMemory();
  const VakScopedEnv env;
  const long total = env->getTotalMemoryUsage();
  VakNumLinExprTermI* term = env->newTerm(nullptr, 1.0);
  EXPECT_EQ(env->getTotalMemoryUsage(), total + 24);
  env->recycleTerm(term);
  EXPECT_EQ(env->getTotalMemoryUsage(), total);
}

}  // namespace
