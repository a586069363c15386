// Sizes and member offsets of every class for which they are fixed: other modules and tests read
// these members, and objects come from the size class of their size.

#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>
#include <vector>

#include "vakbase/exception.h"
#include "vakbase/fixed_size_allocator.h"
#include "vakenv/arrays.h"
#include "vakenv/arrays/array_impl.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/core/local_env.h"
#include "vakenv/domains/shared_domain_hash.h"
#include "vakenv/memory/env.h"
#include "vakenv/memory/env_object.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/memory/memory_manager_object.h"
#include "vakenv/memory/tarn_alloc.h"
#include "vakenv/plugins/plugin.h"
#include "vakenv/plugins/plugin_manager.h"
#include "vakenv/properties.h"
#include "vakenv/properties/extensible_object.h"
#include "vakenv/properties/extension.h"
#include "vakenv/properties/named_property_impl.h"
#include "vakenv/properties/property_set_impl.h"
#include "vakenv/registry/clone_manager.h"
#include "vakenv/registry/deleter.h"
#include "vakenv/registry/destroyable.h"
#include "vakenv/registry/recycle_bin.h"
#include "vakmodel/contract/linear_term.h"
#include "vaksupport/stack_gen_alloc.h"

// Offsets are asked of classes with virtual functions too, which both compilers answer.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

namespace {

using Offsets = std::vector<std::size_t>;

// The offsets of words that follow one another without a gap, the first at `first`.
Offsets wordsFrom(std::size_t first, std::size_t count) {
  Offsets offsets;
  for (std::size_t i = 0; i < count; ++i) offsets.push_back(first + 8 * i);
  return offsets;
}

TEST(Layout, OfHandlesIsOnePointer) {
  EXPECT_EQ(sizeof(VakEnv), 8U);
  EXPECT_EQ(sizeof(VakMemoryManager), 8U);
  EXPECT_EQ(sizeof(VakArray<long>), 8U);
  EXPECT_EQ(sizeof(VakNumArray), 8U);
  EXPECT_EQ(sizeof(VakIntArray), 8U);
  EXPECT_EQ(sizeof(VakBoolArray), 8U);
  EXPECT_EQ(sizeof(VakNumArray2), 8U);
  EXPECT_EQ(sizeof(VakIntArray2), 8U);
  EXPECT_EQ(sizeof(VakNamedProperty), 8U);
  EXPECT_EQ(sizeof(VakNamedIntProperty), 8U);
  EXPECT_EQ(sizeof(VakNamedPropertySet), 8U);
}

TEST(Layout, OfNumbersIsSixtyFourBits) {
  EXPECT_TRUE((std::is_same_v<VakInt, long>));
  EXPECT_TRUE((std::is_same_v<VakNum, double>));
  EXPECT_TRUE((std::is_same_v<VakAny, void*>));
  EXPECT_EQ(sizeof(VakInt), 8U);
}

TEST(Layout, OfTheTypeRootIsItsVirtualTable) { EXPECT_EQ(sizeof(VakRtti), 8U); }

TEST(Layout, OfAllocators) {
  EXPECT_EQ(sizeof(VakGenAlloc), 8U);
  EXPECT_EQ(sizeof(VakTarnAlloc), 16U);
  EXPECT_EQ(offsetof(VakTarnAlloc, env), 8U);
  EXPECT_EQ(sizeof(VakStackGenAlloc), 24U);
  EXPECT_EQ((Offsets{offsetof(VakStackGenAlloc, stack), offsetof(VakStackGenAlloc, symbols)}),
            wordsFrom(8, 2));
}

TEST(Layout, OfSizeClasses) {
  using C = VakFixedSizeAllocatorI;
  EXPECT_EQ(sizeof(C), 48U);
  EXPECT_EQ((Offsets{offsetof(C, _pooled), offsetof(C, _elementSize), offsetof(C, _free),
                     offsetof(C, _bytesInUse), offsetof(C, _bytesObtained), offsetof(C, _list)}),
            wordsFrom(0, 6));
}

TEST(Layout, OfObjectBasesIsVirtualTableAndOwner) {
  EXPECT_EQ(sizeof(VakMemoryManagerObjectI), 16U);
  EXPECT_EQ(sizeof(VakRttiMemoryManagerObjectI), 16U);
  EXPECT_EQ(sizeof(VakEnvObjectI), 16U);
  EXPECT_EQ(sizeof(VakRttiEnvObjectI), 16U);
  EXPECT_EQ(offsetof(VakMemoryManagerObjectI, _memoryManager), 8U);
  EXPECT_EQ(offsetof(VakRttiMemoryManagerObjectI, _memoryManager), 8U);
  EXPECT_EQ(offsetof(VakEnvObjectI, _env), 8U);
  EXPECT_EQ(offsetof(VakRttiEnvObjectI, _env), 8U);
}

TEST(Layout, OfIdentifierManager) {
  using C = VakIdManager;
  EXPECT_EQ(sizeof(C), 40U);
  EXPECT_EQ((Offsets{offsetof(C, _memory), offsetof(C, _size), offsetof(C, _capacity),
                     offsetof(C, _data), offsetof(C, _free)}),
            wordsFrom(0, 5));
  EXPECT_EQ(sizeof(VakIdManager::Iterator), 16U);
  EXPECT_EQ(
      (Offsets{offsetof(VakIdManager::Iterator, manager), offsetof(VakIdManager::Iterator, index)}),
      wordsFrom(0, 2));
}

TEST(Layout, OfMutexIsItsVirtualTable) { EXPECT_EQ(sizeof(VakBaseEnvMutex), 8U); }

TEST(Layout, OfLocalEnvironments) {
  EXPECT_EQ(sizeof(VakLocalEnvI), 24U);
  EXPECT_EQ((Offsets{offsetof(VakLocalEnvI, _env), offsetof(VakLocalEnvI, _next)}),
            wordsFrom(8, 2));
  EXPECT_EQ(sizeof(VakMTSafeLocalEnvI), sizeof(VakLocalEnvI));
}

TEST(Layout, OfDestroyables) {
  EXPECT_EQ(sizeof(VakDestroyableI), 16U);
  using C = VakDestroyableList;
  EXPECT_EQ((Offsets{offsetof(C, env), offsetof(C, first), offsetof(C, table)}), wordsFrom(0, 3));
  EXPECT_EQ(sizeof(C::Element), 24U);
  EXPECT_EQ((Offsets{offsetof(C::Element, destroyable), offsetof(C::Element, prev),
                     offsetof(C::Element, next)}),
            wordsFrom(0, 3));
}

TEST(Layout, OfRecycleBin) {
  using C = VakRecycleBinI;
  EXPECT_EQ((Offsets{offsetof(C, pending), offsetof(C, deferred), offsetof(C, releaseMode),
                     offsetof(C, destroyed)}),
            wordsFrom(0, 4));
}

TEST(Layout, OfCloneManager) {
  using C = VakCloneManager;
  EXPECT_EQ(sizeof(C), 40U);
  EXPECT_EQ((Offsets{offsetof(C, env), offsetof(C, locked), offsetof(C, clones), offsetof(C, ids),
                     offsetof(C, expander)}),
            wordsFrom(0, 5));
}

TEST(Layout, OfTermsIsThreeWords) { EXPECT_EQ(sizeof(VakNumLinExprTermI), 24U); }

TEST(Layout, OfPlugIns) {
  EXPECT_EQ(sizeof(VakPlugIn), 24U);
  EXPECT_EQ(offsetof(VakPlugIn, next), 16U);
  EXPECT_EQ(sizeof(VakNotifiedPlugIn), 24U);
  EXPECT_EQ(sizeof(VakPlugInAddon), 24U);
  EXPECT_EQ(offsetof(VakPlugInAddon, next), 16U);
  EXPECT_EQ(sizeof(VakBaseDeleterI), 24U);
}

TEST(Layout, OfPlugInManager) {
  using C = VakPlugInManager;
  EXPECT_EQ(sizeof(C), 24U);
  EXPECT_EQ((Offsets{offsetof(C, first), offsetof(C, env), offsetof(C, notified)}),
            wordsFrom(0, 3));
  EXPECT_EQ(sizeof(C::VakCell), 32U);
  EXPECT_EQ((Offsets{offsetof(C::VakCell, name), offsetof(C::VakCell, plugIns),
                     offsetof(C::VakCell, addons), offsetof(C::VakCell, next)}),
            wordsFrom(0, 4));
  EXPECT_EQ(sizeof(C::VakNotifiedNode), 16U);
  EXPECT_EQ((Offsets{offsetof(C::VakNotifiedNode, plugIn), offsetof(C::VakNotifiedNode, next)}),
            wordsFrom(0, 2));
}

TEST(Layout, OfNamedProperties) {
  EXPECT_EQ(sizeof(VakNamedPropertyI), 24U);
  EXPECT_EQ(offsetof(VakNamedPropertyI, _holders), 16U);
  EXPECT_EQ(sizeof(VakPreNamedPropertyI), 32U);
  EXPECT_EQ(offsetof(VakPreNamedPropertyI, _name), 24U);
  EXPECT_EQ(sizeof(VakNamedIntPropertyI), 40U);
  EXPECT_EQ(sizeof(VakNamedNumPropertyI), 40U);
  EXPECT_EQ(sizeof(VakNamedAnyPropertyI), 40U);
  EXPECT_EQ(sizeof(VakNamedStringPropertyI), 40U);
  EXPECT_EQ(offsetof(VakNamedIntPropertyI, _value), 32U);
  EXPECT_EQ(offsetof(VakNamedNumPropertyI, _value), 32U);
  EXPECT_EQ(offsetof(VakNamedAnyPropertyI, _value), 32U);
  EXPECT_EQ(offsetof(VakNamedStringPropertyI, _value), 32U);
}

TEST(Layout, OfPropertySets) {
  using C = VakNamedPropertySetI;
  EXPECT_EQ(sizeof(C), 24U);
  EXPECT_EQ((Offsets{offsetof(C, _memoryManager), offsetof(C, _first)}), wordsFrom(8, 2));
  EXPECT_EQ(sizeof(C::PropertyList), 24U);
  EXPECT_EQ((Offsets{offsetof(C::PropertyList, _property), offsetof(C::PropertyList, _next),
                     offsetof(C::PropertyList, _previous)}),
            wordsFrom(0, 3));
}

TEST(Layout, OfExtensions) {
  using C = VakExtension;
  EXPECT_EQ(sizeof(C), 16U);
  EXPECT_EQ((Offsets{offsetof(C, _name), offsetof(C, _objectExtension)}), wordsFrom(0, 2));
  using Object = VakExtension::VakObjectExtension;
  EXPECT_EQ(sizeof(Object), 16U);
  EXPECT_EQ((Offsets{offsetof(Object, _object), offsetof(Object, _properties)}), wordsFrom(0, 2));
}

TEST(Layout, OfExtensibleObjects) {
  EXPECT_EQ(sizeof(VakExtensibleRttiMemoryManagerObjectI), 24U);
  EXPECT_EQ(offsetof(VakExtensibleRttiMemoryManagerObjectI, _extension), 16U);
  EXPECT_EQ(sizeof(VakExtensibleRttiEnvObjectI), 24U);
  EXPECT_EQ(offsetof(VakExtensibleRttiEnvObjectI, _extension), 16U);
}

TEST(Layout, OfArrays) {
  using C = VakArrayI;
  EXPECT_EQ(sizeof(C), 64U);
  EXPECT_EQ(
      (Offsets{offsetof(C, _memoryManager), offsetof(C, _max), offsetof(C, _elementSize),
               offsetof(C, _size), offsetof(C, _mod), offsetof(C, _shift), offsetof(C, _data)}),
      wordsFrom(8, 7));
}

TEST(Layout, OfHashTables) {
  using C = VakHashTable<void*, void*>;
  EXPECT_EQ(sizeof(C), 40U);
  EXPECT_EQ((Offsets{offsetof(C, _nbItems), offsetof(C, _size), offsetof(C, _hash),
                     offsetof(C, _compare), offsetof(C, _buckets)}),
            wordsFrom(0, 5));
  EXPECT_EQ(sizeof(C::Item), 24U);
  using E = VakEnvHashTable<void*, void*>;
  EXPECT_EQ(sizeof(E), 56U);
  EXPECT_EQ((Offsets{offsetof(E, _nbItems), offsetof(E, _size), offsetof(E, _hash),
                     offsetof(E, _compare), offsetof(E, _buckets)}),
            wordsFrom(16, 5));
  EXPECT_EQ(sizeof(E::Item), 24U);
  EXPECT_EQ(sizeof(VakIntSharedDomainHash), sizeof(E));
  EXPECT_EQ(sizeof(VakNumSharedDomainHash), sizeof(E));
}

TEST(Layout, OfTimers) {
  using C = VakTimer;
  EXPECT_EQ(sizeof(C), 32U);
  EXPECT_EQ((Offsets{offsetof(C, _memoryManager), offsetof(C, _accumulated),
                     offsetof(C, _startTime), offsetof(C, _running)}),
            wordsFrom(0, 4));
}

TEST(Layout, OfTheNullStreamIsAStreamAndABuffer) {
  EXPECT_EQ(sizeof(VakNullStream), sizeof(std::ostream) + sizeof(std::streambuf));
  EXPECT_EQ(sizeof(VakNullStream::Buf), sizeof(std::streambuf));
}

TEST(Layout, OfTheEnvironmentBeginsWithModeAndPool) {
  EXPECT_EQ(offsetof(VakEnvI, _flags), 0U);
  EXPECT_EQ(offsetof(VakEnvI, _useMemoryManager), 8U);
  EXPECT_EQ(offsetof(VakEnvI, _memory), 16U);
  EXPECT_EQ(offsetof(VakEnvI, _memoryMode), 16U + sizeof(VakMemory));
}

TEST(Layout, OfTheEnvironmentFollowsThePoolWithWords) {
  EXPECT_EQ((Offsets{offsetof(VakEnvI, _memoryMode), offsetof(VakEnvI, _localEnv),
                     offsetof(VakEnvI, _mtSafeAllocation), offsetof(VakEnvI, _mtSafeNormalization),
                     offsetof(VakEnvI, _markArray), offsetof(VakEnvI, _symbolTable),
                     offsetof(VakEnvI, _unusedPointer1), offsetof(VakEnvI, _unusedPointer2),
                     offsetof(VakEnvI, _unusedPointer3), offsetof(VakEnvI, _unusedPointer4),
                     offsetof(VakEnvI, _unusedPointer5), offsetof(VakEnvI, _unusedPointer6),
                     offsetof(VakEnvI, _unusedPointer7), offsetof(VakEnvI, _unusedPointer8),
                     offsetof(VakEnvI, _idManager), offsetof(VakEnvI, _typedLists)}),
            wordsFrom(offsetof(VakEnvI, _memoryMode), 16));
}

TEST(Layout, OfTheEnvironmentHasTheTypedListsBetweenIdentifiersAndAlgorithms) {
  EXPECT_EQ((Offsets{offsetof(VakEnvI, _algorithms), offsetof(VakEnvI, _unusedPointer9),
                     offsetof(VakEnvI, _termSize), offsetof(VakEnvI, _termAllocator),
                     offsetof(VakEnvI, _plugInManager), offsetof(VakEnvI, _out),
                     offsetof(VakEnvI, _warning), offsetof(VakEnvI, _error),
                     offsetof(VakEnvI, _nullStream)}),
            wordsFrom(offsetof(VakEnvI, _typedLists) + sizeof(VakTypedListManager), 9));
}

TEST(Layout, OfTheEnvironmentHasTheTimerBehindTheNullStream) {
  EXPECT_EQ(offsetof(VakEnvI, _timer), offsetof(VakEnvI, _nullStream) + sizeof(VakNullStream));
  EXPECT_EQ((Offsets{offsetof(VakEnvI, _cloneManager), offsetof(VakEnvI, _destroyables),
                     offsetof(VakEnvI, _deleter), offsetof(VakEnvI, _deleterLevel),
                     offsetof(VakEnvI, _ending), offsetof(VakEnvI, _random),
                     offsetof(VakEnvI, _allocator), offsetof(VakEnvI, _expander),
                     offsetof(VakEnvI, _mutex), offsetof(VakEnvI, _version),
                     offsetof(VakEnvI, _extension), offsetof(VakEnvI, _recycleBin),
                     offsetof(VakEnvI, _intDomains), offsetof(VakEnvI, _numDomains)}),
            wordsFrom(offsetof(VakEnvI, _timer) + sizeof(VakTimer), 14));
  EXPECT_TRUE((std::is_same_v<decltype(VakEnvI::_deleterLevel), int>));
}

TEST(Layout, OfTheEnvironmentKeepsStateOfMechanismsBehindTheRecord) {
  EXPECT_EQ(offsetof(VakEnvI, _endedSteps), offsetof(VakEnvI, _numDomains) + 8);
}

}  // namespace
