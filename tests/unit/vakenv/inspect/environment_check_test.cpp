// The deep check of an environment finds each kind of corruption, says what it is, and finds
// nothing in an environment that is sound.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <utility>

#include "tests/support/broken_place.h"
#include "tests/support/environment_mode.h"
#include "tests/support/test_algorithm.h"
#include "vakbase/fault_text.h"
#include "vakbase/memory_inspection.h"
#include "vakenv/arrays/array_impl.h"
#include "vakenv/domains/shared_domain_hash.h"
#include "vakenv/memory/env.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/plugins/plugin_manager.h"
#include "vakenv/properties.h"
#include "vakenv/registry/clone_manager.h"
#include "vakenv/registry/destroyable.h"
#include "vakenv/registry/recycle_bin.h"
#include "vakenv/types/exceptions.h"
#include "vakmodel/contract/linear_term.h"
#include "vaksupport/symbol_table.h"

namespace {

using testing::StartsWith;

const void* at(const void* p) { return p; }

/// Puts a link into a free element and returns the one that was there.
void* exchangeLink(void* element, void* link) {
  VakUnpoison(element, sizeof(void*));
  void* before = VakFixedSizeAllocatorI::LoadLink(element);
  VakFixedSizeAllocatorI::StoreLink(element, link);
  VakPoison(element, sizeof(void*));
  return before;
}

/// An object that dies with its environment.
class Mortal : public VakDestroyableI {
  VAK_RTTI(Mortal, VakDestroyableI);
  using VakDestroyableI::VakDestroyableI;
};

class Silent : public VakPlugIn {
  VAK_RTTI(Silent, VakPlugIn);
  using VakPlugIn::VakPlugIn;
};

class Listener : public VakNotifiedPlugIn {
  VAK_RTTI(Listener, VakNotifiedPlugIn);
  using VakNotifiedPlugIn::VakNotifiedPlugIn;
  void notifyChange(const VakChange&, const VakExtractableI*) override {}
};

/// Tests that hold with pooling and without.
class EnvironmentCheck : public testing::TestWithParam<bool> {
 protected:
  EnvironmentCheck() {
    GetParam() ? VakUsePooledMemory() : VakUseUnpooledMemory();
    handle = VakEnv();
    env = handle.getImpl();
  }
  ~EnvironmentCheck() override {
    EXPECT_EQ(handle.check(), "") << "a test leaves what it broke";
    handle.end();
  }

  VakTestNode* node(const char* name, std::initializer_list<VakExtractableI*> refs = {}) {
    return VakMakeNode(env, script, name, refs);
  }
  /// Puts `broken` into the place of a value, returns what the check says, and mends it.
  template <class T, class U>
  std::string with(T& place, U broken) {
    return VakCheckBroken(place, broken, [this] { return env->check(); });
  }

  VakTestScript script;
  VakEnv handle{static_cast<VakEnvI*>(nullptr)};
  VakEnvI* env = nullptr;
};
INSTANTIATE_TEST_SUITE_P(, EnvironmentCheck, testing::Bool(),
                         [](const auto& mode) { return mode.param ? "Pooled" : "NotPooled"; });

// Tests of what only the pool has.
class PoolCheck : public EnvironmentCheck {
 protected:
  PoolCheck() : cells(*env->_memory._allocators[VakMemory::getIndex(40)]) {}
  VakFixedSizeAllocatorI& cells;  ///< Of 40 bytes, a size that a fresh environment does not use.
};
INSTANTIATE_TEST_SUITE_P(, PoolCheck, testing::Values(true), [](const auto&) { return "Pooled"; });

// ---- Nothing to find ----------------------------------------------------------------------------

TEST_P(EnvironmentCheck, FindsNothingInAFreshEnvironment) { EXPECT_EQ(handle.check(), ""); }

TEST_P(EnvironmentCheck, TakesNoMemoryFromTheEnvironment) {
  env->_typedLists.switchOn(env);
  node("A", {node("B")});
  handle.setIntProperty("size", 3);
  handle.makeSymbol("name");
  const VakInt usage = env->getMemoryUsage();
  const VakInt total = env->getTotalMemoryUsage();
  const void* free = env->_memory._allocators[VakMemory::getIndex(24)]->_free;
  EXPECT_EQ(handle.check(), "");
  EXPECT_EQ(env->getMemoryUsage(), usage);
  EXPECT_EQ(env->getTotalMemoryUsage(), total);
  EXPECT_EQ(env->_memory._allocators[VakMemory::getIndex(24)]->_free, free);
}

TEST_P(EnvironmentCheck, FindsNothingInThreadSafeMode) {
  node("A");
  env->useMTSafeAllocation(1);
  auto* b = node("B");
  VakCreate<Mortal>(env);
  EXPECT_EQ(handle.check(), "");
  delete b;
  EXPECT_EQ(handle.check(), "");
  env->useMTSafeAllocation(0);
}

TEST_P(EnvironmentCheck, CanBeAskedWithinARemoval) {
  std::vector<std::string> found;
  const auto ask = [&](VakTestNode&) { found.push_back(env->check()); };
  script.onSweep = script.onNotify = script.onDestruct = ask;
  auto* a = node("A");
  auto* b = node("B", {a});
  b->_goesWhenEmpty = true;
  node("C", {a, b});
  env->removeFromAllAndDestroy(a, 0);
  script.onSweep = script.onNotify = script.onDestruct = nullptr;
  EXPECT_GT(found.size(), 5U);
  for (const std::string& fault : found) EXPECT_EQ(fault, "");
}

TEST(EnvironmentCheckAtTheEnd, FindsNothingInTheDestructorsThatTheEndRuns) {
  struct Witness : VakPlugIn {
    Witness(VakEnvI* env, std::vector<std::string>& found) : VakPlugIn(env), _found(found) {}
    ~Witness() noexcept(false) override { _found.push_back(_env->check()); }
    std::vector<std::string>& _found;
  };
  struct Dying : VakDestroyableI {
    Dying(VakEnvI* env, std::vector<std::string>& found) : VakDestroyableI(env), _found(found) {}
    ~Dying() noexcept(false) override { _found.push_back(_env->check()); }
    std::vector<std::string>& _found;
  };
  std::vector<std::string> found;
  VakTestScript script;
  script.onDestruct = [&](VakTestNode& node) { found.push_back(node._env->check()); };
  VakEnv handle;
  handle.setIntProperty("size", 3);
  for (int i = 0; i < 3; ++i) VakMakeNode(handle.getImpl(), script, "A");
  VakCreate<Dying>(handle, found);
  VakCreate<Dying>(handle, found);
  handle.getImpl()->_plugInManager->add(VakCreate<Witness>(handle, found), "name");
  const bool isPooled = VakUsesPooledMemory();
  handle.end();
  EXPECT_EQ(found, std::vector<std::string>(isPooled ? 3 : 6, ""));
}

TEST(EnvironmentCheckOfHandles, ThrowsOnAnEmptyHandle) {
  try {
    static_cast<void>(VakEnv(static_cast<VakEnvI*>(nullptr)).check());
    FAIL();
  } catch (const VakEmptyHandleException& e) {
    EXPECT_STREQ(e.getMessage(), "VakEnv: Using empty handle");
  }
}

// ---- The pool and the record --------------------------------------------------------------------

TEST_P(PoolCheck, FindsAFreeListThatWasCutOff) {
  void* element = env->allocate(40);
  const long all = env->_memory.getGrowth(VakMemory::getIndex(40))._elements;
  EXPECT_EQ(with(cells._free, nullptr),
            VakFaultText("pool: 40-byte elements: 1 in use and 0 free are not the ", all,
                         " of its blocks"));
  env->giveBack(element, 40);
}

TEST_P(PoolCheck, FindsATermFreeListThatWasCutOff) {
  VakNumLinExprTermI* term = env->newTerm(nullptr, 1);
  const long all = env->_memory.getCompanionGrowth()._elements;
  EXPECT_EQ(with(env->_termAllocator->_free, nullptr),
            VakFaultText("pool: 24-byte elements: 1 in use and 0 free are not the ", all,
                         " of its blocks"));
  env->recycleTerm(term);
}

TEST_P(PoolCheck, FindsAnElementThatWasGivenBackTwice) {
  void* first = env->allocate(40);
  void* second = env->allocate(40);
  env->giveBack(first, 40);
  env->giveBack(second, 40);
  void* const link = exchangeLink(first, second);
  EXPECT_THAT(env->check(),
              StartsWith("pool: 40-byte elements: the free list runs in a circle through 0x"));
  exchangeLink(first, link);
}

TEST_P(PoolCheck, NamesNothingButThePoolWhenThePoolIsBroken) {
  const auto broken = [&] { return with(env->_idManager->_size, -1); };
  void* element = env->allocate(40);
  void* intact = std::exchange(cells._free, nullptr);
  EXPECT_THAT(broken(), StartsWith("pool: 40-byte elements: "));
  EXPECT_EQ(broken().find('\n'), std::string::npos);
  cells._free = intact;
  env->giveBack(element, 40);
}

TEST(HeapCheck, FindsAnElementThatIsNotInItsList) {
  VakUseUnpooledMemory();
  VakEnv handle;
  VakFixedSizeAllocatorI& cells = *handle.getImpl()->_memory._allocators[VakMemory::getIndex(40)];
  cells._bytesObtained += 40;
  EXPECT_THAT(handle.check(), StartsWith("pool: the allocation lists hold "));
  cells._bytesObtained -= 40;
  EXPECT_EQ(handle.check(), "");
  handle.end();
}

TEST_P(EnvironmentCheck, FindsARecordThatContradictsItself) {
  const VakInt mode = env->_useMemoryManager;
  const VakInt other = 1 - mode;
  EXPECT_EQ(with(env->_useMemoryManager, 7), "record: _useMemoryManager is 7");
  EXPECT_EQ(with(env->_flags, other),
            VakFaultText("record: _flags is ", other, " with pooling ", mode));
  EXPECT_EQ(with(env->_memory._allocators[4]->_pooled, other),
            VakFaultText("record: the class of 40 bytes has pooling ", other, ", the environment ",
                         mode));
  EXPECT_EQ(with(env->_termSize, 32), "record: terms have 32 bytes, elements of their pool 24");
  EXPECT_EQ(with(env->_termAllocator->_elementSize, 48),
            "record: terms have 24 bytes, elements of their pool 48");
  EXPECT_EQ(with(env->_termAllocator->_pooled, other),
            VakFaultText("record: the term pool has pooling ", other));
  EXPECT_EQ(with(env->_ending, 2), "record: _ending is 2");
  EXPECT_EQ(with(env->_deleterLevel, 3), "record: the deleter level is 3 without a deleter");
  EXPECT_EQ(with(env->_mtSafeAllocation, 1),
            "record: thread-safe allocation is on without a local environment");
}

TEST_P(EnvironmentCheck, FindsALocalEnvironmentOfAnotherOrInACircle) {
  env->useMTSafeAllocation(1);
  VakLocalEnvI* local = env->_localEnv;
  EXPECT_EQ(with(local->_env, nullptr),
            VakFaultText("record: local environment ", at(local), " serves another environment"));
  EXPECT_EQ(with(local->_next, local),
            VakFaultText("record: the list runs in a circle through ", at(local)));
  env->useMTSafeAllocation(0);
}

// ---- Identifiers and extractables ---------------------------------------------------------------

TEST_P(EnvironmentCheck, FindsABrokenIdentifierTable) {
  node("A");
  EXPECT_EQ(with(env->_idManager->_size, 1000),
            "identifiers: the size 1000 is outside the table of 256 slots");
  EXPECT_EQ(with(env->_idManager->_free, env->_idManager->_data + 2),
            "identifiers: free slot 1 is not in the free list");
}

TEST_P(EnvironmentCheck, FindsAnExtractableWithAnotherIdentifierThanItsSlot) {
  auto* a = node("A");
  EXPECT_EQ(with(a->id, 7),
            VakFaultText("extractables: slot 0 leads to ", at(a), ", whose identifier is 7"));
}

TEST_P(EnvironmentCheck, FindsASlotThatLeadsToNoObject) {
  auto* a = node("A");
  const void* misplaced = reinterpret_cast<char*>(a) + 4;
  EXPECT_EQ(with(env->_idManager->_data[0], const_cast<void*>(misplaced)),
            VakFaultText("extractables: slot 0 leads to ", misplaced, ", where no object can be"));
}

TEST_P(EnvironmentCheck, FindsAnExtractableOfAnotherEnvironment) {
  auto* a = node("A");
  VakEnvI* intact = std::exchange(a->_env, nullptr);
  const std::string fault = env->check();
  a->_env = intact;
  EXPECT_EQ(fault,
            VakFaultText("extractables: slot 0 leads to ", at(a), " of another environment"));
}

TEST_P(PoolCheck, FindsAnExtractableWhoseMemoryWasGivenBack) {
  auto* a = node("A");
  void* free = env->allocate(40);
  env->giveBack(free, 40);
  EXPECT_EQ(with(env->_idManager->_data[a->id], free),
            VakFaultText("extractables: slot 0 leads to ", free, ", which is free memory"));
}

TEST_P(EnvironmentCheck, FindsATypedListWithAnUnregisteredExtractable) {
  env->_typedLists.switchOn(env);
  auto* a = node("A");
  EXPECT_EQ(
      with(env->_idManager->_data[a->id], nullptr),
      VakFaultText("typed lists: the waiting chain has ", at(a), ", which is not registered"));
  EXPECT_EQ(env->_typedLists.count(VakTestNode::GetTypeInfo()), 1);
  EXPECT_EQ(
      with(env->_idManager->_data[a->id], nullptr),
      VakFaultText("typed lists: the chain of a class has ", at(a), ", which is not registered"));
}

TEST_P(PoolCheck, FindsATypedListWithADeadExtractable) {
  env->_typedLists.switchOn(env);
  auto* a = node("A");
  delete a;
  env->_typedLists.add(a);
  EXPECT_EQ(env->check(),
            VakFaultText("typed lists: the waiting chain has ", at(a), ", which is free memory"));
  env->_typedLists.remove(a);
}

// ---- The registry -------------------------------------------------------------------------------

TEST_P(EnvironmentCheck, FindsADestroyableListThatDisagreesWithItsTable) {
  auto* one = VakCreate<Mortal>(env);
  auto* two = VakCreate<Mortal>(env);
  VakDestroyableList& list = *env->_destroyables;
  EXPECT_EQ(with(list.table._nbItems, 3),
            "destroyables: table: the chains hold 2 items of the 3 counted");
  EXPECT_EQ(with(list.first->next->prev, nullptr),
            VakFaultText("destroyables: the link of object ", at(one),
                         " towards its newer neighbour is wrong"));
  EXPECT_EQ(with(list.first, list.first->next),
            VakFaultText("destroyables: the link of object ", at(one),
                         " towards its newer neighbour is wrong"));
  EXPECT_EQ(with(list.first->next, nullptr),
            "destroyables: the list holds 1 objects of the 2 in the table");
  EXPECT_EQ(with(list.first->next->next, list.first),
            "destroyables: the list holds more objects than the 2 in the table");
  EXPECT_EQ(
      with(list.first->destroyable, one),
      VakFaultText("destroyables: the table does not lead to the element of object ", at(one)));
  EXPECT_EQ(with(two->_env, nullptr),
            VakFaultText("destroyables: object ", at(two), " belongs to another environment"));
}

TEST_P(EnvironmentCheck, FindsMoreDestroyablesThanLive) {
  VakCreate<Mortal>(env);
  --env->_registry.liveDestroyables;
  EXPECT_EQ(env->check(), "destroyables: 1 more objects are listed than live");
  ++env->_registry.liveDestroyables;
}

TEST_P(PoolCheck, FindsADestroyableThatIsGone) {
  auto* mortal = VakCreate<Mortal>(env);
  delete mortal;
  env->addDestroyable(mortal);
  ++env->_registry.liveDestroyables;
  EXPECT_EQ(env->check(), VakFaultText("destroyables: object ", at(mortal), " is free memory"));
  --env->_registry.liveDestroyables;
  env->removeDestroyable(mortal);
}

TEST_P(EnvironmentCheck, FindsABrokenAlgorithmList) {
  auto* older = new VakTestAlgorithm(env, script, "older");
  auto* newer = new VakTestAlgorithm(env, script, "newer");
  EXPECT_EQ(with(older->_isAttached, false),
            VakFaultText("algorithms: algorithm ", at(older), " is not marked as attached"));
  EXPECT_EQ(with(newer->_env, nullptr),
            VakFaultText("algorithms: algorithm ", at(newer), " belongs to another environment"));
  EXPECT_THAT(with(older->next, newer),
              StartsWith("algorithms: the list runs in a circle through 0x"));
}

TEST_P(EnvironmentCheck, FindsAnExpanderThatIsNotAttached) {
  const void* expander = env->getExpander();
  EXPECT_EQ(env->check(), "");
  EXPECT_EQ(with(env->_algorithms, nullptr),
            VakFaultText("algorithms: the expander ", expander, " is not attached"));
}

TEST_P(EnvironmentCheck, FindsABrokenRecycleBin) {
  std::string intact;
  std::string contents;
  std::string mode;
  std::string table;
  script.onSweep = [&](VakTestNode&) {
    VakRecycleBinI& bin = *env->_recycleBin;
    intact = env->check();
    contents = with(bin.pending[0], nullptr);
    mode = with(bin.releaseMode, 2);
    table = with(bin.destroyed._nbItems, 1);
  };
  auto* a = node("A");
  node("B", {a});
  env->removeFromAllAndDestroy(a, 0);
  script.onSweep = nullptr;
  EXPECT_EQ(intact, "");
  EXPECT_EQ(contents, VakFaultText("recycle bin: pending: element 0 is ", at(nullptr),
                                   ", in the roll ", at(a)));
  EXPECT_EQ(mode, "recycle bin: release mode 2");
  EXPECT_EQ(table, "recycle bin: destroyed: the chains hold 0 items of the 1 counted");
}

TEST_P(PoolCheck, FindsAnExtractableThatIsGoneInTheRecycleBin) {
  auto* gone = static_cast<VakExtractableI*>(env->allocate(200));
  env->giveBack(gone, 200);
  std::string found;
  script.onSweep = [&](VakTestNode&) {
    VakExtractableRoll& deferred = env->_registry.deferred;
    deferred.add(gone);
    found = env->check();
    deferred.dropLast();
  };
  auto* a = node("A");
  node("B", {a});
  env->removeFromAllAndDestroy(a, 0);
  script.onSweep = nullptr;
  EXPECT_EQ(found,
            VakFaultText("recycle bin: deferred: element 0, ", at(gone), ", is free memory"));
}

TEST_P(EnvironmentCheck, FindsABrokenCloneTable) {
  auto* a = node("A");
  VakCloneManager& clones = *env->_cloneManager;
  const VakInt locked = clones.lock();
  ASSERT_EQ(locked, 1);
  env->setClone(a, a);
  EXPECT_EQ(env->check(), "");
  EXPECT_EQ(with(clones.ids[0], -3), "clones: the log has identifier -3");
  EXPECT_EQ(with(clones.ids[0], 1), "clones: the copy of identifier 0 is not in the log");
  EXPECT_EQ(VakFirstFault(with(clones.clones->_mod, 5)),
            "clones: table: the mask is not the chunk length minus 1");
  clones.unlock();
}

// ---- Plug-ins, properties and services ----------------------------------------------------------

TEST_P(EnvironmentCheck, FindsBrokenPlugInCells) {
  VakPlugInManager& manager = *env->_plugInManager;
  auto* one = VakCreate<Silent>(env);
  auto* two = VakCreate<Silent>(env);
  auto* told = VakCreate<Listener>(env);
  manager.add(one, "red");
  manager.add(two, "red");
  manager.add(told, "blue");
  manager.addNotified(told);
  EXPECT_EQ(env->check(), "");
  EXPECT_THAT(with(one->next, two),
              StartsWith("plug-ins: cell \"red\": the list runs in a circle through 0x"));
  EXPECT_EQ(with(two->_env, nullptr), VakFaultText("plug-ins: cell \"red\": plug-in ", at(two),
                                                   " belongs to another environment"));
  EXPECT_EQ(with(manager.first->name, nullptr), "plug-ins: a cell has no name");
  EXPECT_EQ(with(manager.first->name, manager.first->next->name),
            "plug-ins: cell \"red\" stands behind another of it");
  EXPECT_THAT(with(manager.first->next->next, manager.first),
              StartsWith("plug-ins: the list runs in a circle through 0x"));
  EXPECT_EQ(with(manager.notified->plugIn, nullptr), "plug-ins: a notified plug-in is null");
}

TEST_P(PoolCheck, FindsAPlugInThatWasDeletedWhileItWasFiled) {
  auto* plugIn = VakCreate<Listener>(env);
  VakPlugInManager& manager = *env->_plugInManager;
  manager.add(plugIn, "red");
  manager.addNotified(plugIn);
  delete plugIn;
  EXPECT_EQ(env->check(),
            VakFaultText("plug-ins: cell \"red\": plug-in ", at(plugIn), " is free memory"));
  manager.first->plugIns = nullptr;
  EXPECT_EQ(env->check(),
            VakFaultText("plug-ins: notified plug-in ", at(plugIn), " is free memory"));
  manager.removeNotified(plugIn);
}

TEST_P(EnvironmentCheck, FindsABrokenPropertySet) {
  handle.setIntProperty("size", 3);
  handle.setIntProperty("weight", 4);
  VakNamedPropertySetI* set = env->getProperties();
  VakNamedPropertyI* size = set->getProperty("size");
  VakNamedPropertySetI::PropertyList* entry = set->getElem(size);
  EXPECT_EQ(with(entry->_previous, entry),
            VakFaultText("properties: environment: the previous link of the entry of property ",
                         at(size), " is wrong"));
  EXPECT_THAT(with(entry->_next, set->_first), StartsWith("properties: environment: "));
  EXPECT_EQ(with(entry->_property, nullptr),
            VakFaultText("properties: environment: property ", at(nullptr), " is free memory"));
}

TEST_P(EnvironmentCheck, FindsAPropertyThatIsHeldLessOftenThanItStandsInSets) {
  auto* a = node("A");
  auto* property = VakCreate<VakNamedIntPropertyI>(VakMemoryManager(env->_allocator), "size", 3L);
  env->addProperty(property);
  a->addProperty(property);
  EXPECT_EQ(env->check(), "");
  EXPECT_EQ(with(property->_holders, 1),
            VakFaultText("properties: extractable 0: property ", at(property),
                         " is held 1 times and stands in 2 entries"));
}

TEST_P(EnvironmentCheck, AcceptsASetWhoseEntriesDoNotHold) {
  handle.setIntProperty("size", 3);
  handle.setIntProperty("weight", 4);
  VakNamedPropertySetI* clone = env->getProperties()->makeClone(VakMemoryManager(env->_allocator));
  env->setProperties(clone);
  handle.setIntProperty("length", 5);
  EXPECT_EQ(env->check(), "");
}

TEST_P(EnvironmentCheck, FindsABrokenSymbolTable) {
  VakSymbolI* one = handle.makeSymbol("one");
  VakSymbolI* two = handle.makeSymbol("two");
  EXPECT_EQ(with(env->_symbolTable->_table._nbItems, 1),
            "symbols: names: the chains hold more items than the 1 counted");
  char* name = const_cast<char*>(one->getName());
  name[0] = 't', name[1] = 'w', name[2] = 'o';
  EXPECT_THAT(env->check(), StartsWith("symbols: "));
  name[0] = 'o', name[1] = 'n', name[2] = 'e';
  auto& symbols = const_cast<VakSymbolI*&>(env->_symbolTable->getSymbols()[0]);
  EXPECT_EQ(with(symbols, two), "symbols: the symbol at number 0 has the code 1");
}

TEST_P(EnvironmentCheck, FindsABrokenTableOfSharedDomains) {
  VakVarDomainI* own = env->getOrMakeSharedDomain(VakInt{2}, VakInt{5});
  VakVarDomainI* other = env->getOrMakeSharedDomain(VakInt{2}, VakInt{6});
  VakVarDomainI* plain = VakCreate<VakIntVarDomainI>(env, 2L, 5L, 0L);
  VakIntSharedDomainHash::Iterator walk(*env->_intDomains);
  while (walk->_value != own) ++walk;
  EXPECT_EQ(with(walk->_value, other),
            "shared domains: integer: range [2, 5] leads to the domain [2, 6]");
  EXPECT_EQ(with(walk->_value, plain),
            VakFaultText("shared domains: integer: domain ", at(plain), " is not a shared one"));
  EXPECT_EQ(with(walk->_key, nullptr),
            VakFaultText("shared domains: integer: range ", at(nullptr), " is free memory"));
  EXPECT_EQ(with(env->_intDomains->_nbItems, 3),
            "shared domains: integer: the chains hold 2 items of the 3 counted");
  env->getOrMakeSharedDomain(0.5, 1.5);
  EXPECT_EQ(with(env->_numDomains->_nbItems, 0),
            "shared domains: numeric: the chains hold more items than the 0 counted");
  VakVarDomainI* wide = env->getOrMakeSharedDomain(0.5, 2.5);
  VakNumSharedDomainHash::Iterator numbers(*env->_numDomains);
  while (numbers->_value == wide) ++numbers;
  EXPECT_EQ(with(numbers->_value, wide),
            "shared domains: numeric: range [0.5, 1.5] leads to the domain [0.5, 2.5]");
}

TEST_P(EnvironmentCheck, FindsABrokenMarkArray) {
  env->useMTSafeNormalization(1);
  EXPECT_EQ(env->check(), "");
  void** block = env->_markArray;
  EXPECT_EQ(with(block[1], reinterpret_cast<void*>(7)),
            "mark arrays: the in-use flag of a block is 7");
  EXPECT_EQ(with(block[2], nullptr), "mark arrays: the capacity of a block is 0");
  EXPECT_EQ(with(block[0], block),
            VakFaultText("mark arrays: the list runs in a circle through ", at(block)));
}

TEST_P(EnvironmentCheck, FindsWrongCountsOfArrays) {
  const VakInt tables = env->_arrayTally.getTables();
  const VakInt bytes = env->_arrayTally.getBytes();
  const auto after = [&](VakInt moreTables, VakInt moreBytes) {
    env->_arrayTally.count(moreTables, moreBytes, false);
    const std::string found = env->check();
    env->_arrayTally.count(-moreTables, -moreBytes, false);
    return found;
  };
  EXPECT_EQ(after(-tables - 1, 0),
            VakFaultText("arrays: the counts are ", bytes, " bytes of -1 tables"));
  EXPECT_EQ(after(2 - tables, 15 - bytes), "arrays: the counts are 15 bytes of 2 tables");
  EXPECT_EQ(after(1, 8), "");
  constexpr VakInt tooMany = VakInt{1} << 61;  // Their words are more bytes than an integer holds.
  EXPECT_EQ(after(tooMany - tables, -bytes),
            VakFaultText("arrays: the counts are 0 bytes of ", tooMany, " tables"));
}

TEST_P(EnvironmentCheck, NamesEveryStructureThatIsBrokenOnALineOfItsOwn) {
  handle.makeSymbol("one");
  env->_symbolTable->_table._nbItems = 2;
  EXPECT_EQ(with(env->_idManager->_size, -1),
            "identifiers: the size -1 is outside the table of 256 slots\n"
            "symbols: names: the chains hold 1 items of the 2 counted");
  env->_symbolTable->_table._nbItems = 1;
}

}  // namespace
