// The deep check names whatever was given back while something leads to it, and reads nothing of
// it: with the address sanitizer, free memory cannot be read.

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/support/broken_place.h"
#include "tests/support/environment_mode.h"
#include "tests/support/test_algorithm.h"
#include "vakbase/fault_text.h"
#include "vakenv/arrays/array_impl.h"
#include "vakenv/domains/shared_domain_hash.h"
#include "vakenv/memory/env.h"
#include "vakenv/plugins/plugin_manager.h"
#include "vakenv/properties.h"
#include "vakenv/registry/clone_manager.h"
#include "vakenv/registry/destroyable.h"
#include "vakenv/registry/recycle_bin.h"
#include "vaksupport/symbol_table.h"

namespace {

const void* at(const void* p) { return p; }

class Quiet : public VakPlugInAddon {
  VAK_RTTI(Quiet, VakPlugInAddon);
  using VakPlugInAddon::VakPlugInAddon;
  void plugInAdded(VakPlugIn*) override {}
  void plugInRemoved(VakPlugIn*) override {}
};

class Deaf : public VakNotifiedPlugIn {
  VAK_RTTI(Deaf, VakNotifiedPlugIn);
  using VakNotifiedPlugIn::VakNotifiedPlugIn;
  void notifyChange(const VakChange&, const VakExtractableI*) override {}
};

class OtherNode : public VakTestNode {
  VAK_RTTI(OtherNode, VakTestNode);
  using VakTestNode::VakTestNode;
};

/// An environment that pools its memory, and some of it that was given back.
class FreeMemoryCheck : public testing::Test {
 protected:
  FreeMemoryCheck() {
    VakUsePooledMemory();
    handle = VakEnv();
    env = handle.getImpl();
    free = env->allocate(200);
    env->giveBack(free, 200);
  }
  ~FreeMemoryCheck() override {
    EXPECT_EQ(handle.check(), "") << "a test leaves what it broke";
    handle.end();
  }

  template <class T, class U>
  std::string with(T& place, U broken) {
    return VakCheckBroken(place, broken, [this] { return env->check(); });
  }
  /// Lets a pointer lead to what was given back.
  template <class T>
  std::string withFree(T& place) {
    return with(place, reinterpret_cast<T>(free));
  }
  /// The first bucket of a table that is not empty.
  template <class Table>
  static auto& chainOf(const Table& table) {
    return *std::find_if(table._buckets, table._buckets + table._size,
                         [](const auto* item) { return item != nullptr; });
  }
  /// The element of `size` bytes that is handed out next.
  [[nodiscard]] void** next(unsigned long size) const {
    void* element = env->allocate(size);
    env->giveBack(element, size);
    return static_cast<void**>(element);
  }

  VakTestScript script;
  VakEnv handle{static_cast<VakEnvI*>(nullptr)};
  VakEnvI* env = nullptr;
  void* free = nullptr;  ///< Memory that was given back.
};

TEST_F(FreeMemoryCheck, FindsTablesOfCopiesThatAreGone) {
  VakCloneManager& clones = *env->_cloneManager;
  EXPECT_EQ(withFree(clones.clones), "clones: the table is free memory");
  EXPECT_EQ(with(clones.ids, VakArray<VakInt>(static_cast<VakArrayI*>(free))),
            "clones: the log is free memory");
  EXPECT_EQ(VakFirstFault(withFree(clones.clones->_data)),
            "clones: table: the table of chunks is free memory");
  EXPECT_EQ(VakFirstFault(withFree(clones.clones->_data[0])),
            "clones: table: chunk 0 is free memory");
  EXPECT_EQ(VakFirstFault(withFree(clones.ids.getImpl()->_data[0])),
            "clones: log: chunk 0 is free memory");
}

TEST_F(FreeMemoryCheck, FindsSymbolsThatAreGone) {
  handle.makeSymbol("one");
  VakSymbolTable& symbols = *env->_symbolTable;
  EXPECT_EQ(withFree(symbols._table._buckets), "symbols: names: the buckets are free memory");
  auto& chain = chainOf(symbols._table);
  EXPECT_EQ(withFree(chain), "symbols: names: a chain leads into free memory");
  EXPECT_EQ(withFree(chain->_key),
            VakFaultText("symbols: names: name ", at(free), " is free memory"));
  EXPECT_EQ(with(chain->_key, nullptr),
            VakFaultText("symbols: names: name ", at(nullptr), " is free memory"));
  auto& first = const_cast<VakSymbolI*&>(symbols.getSymbols()[0]);
  EXPECT_EQ(withFree(first), "symbols: the symbol at number 0 is free memory");
  EXPECT_EQ(with(first, nullptr), "symbols: the symbol at number 0 is free memory");
}

TEST_F(FreeMemoryCheck, FindsAListOfSymbolsThatIsGone) {
  handle.makeSymbol("one");
  const auto list = env->_symbolTable->getSymbols();
  VakSymbolI* one = list[0];
  auto* place = const_cast<VakSymbolI**>(list.data());
  constexpr unsigned long bytes = 16 * sizeof(VakSymbolI*);
  env->giveBack(place, bytes);
  EXPECT_EQ(env->check(), "symbols: the list of symbols is free memory");
  ASSERT_EQ(env->allocate(bytes), place);
  place[0] = one;
}

TEST_F(FreeMemoryCheck, FindsNamesAndNumbersOfSymbolsThatDisagree) {
  const VakSymbolI* one = handle.makeSymbol("one");
  auto& table = env->_symbolTable->_table;
  auto& chain = chainOf(table);
  ASSERT_EQ(chain->_value, one);
  VakSymbolI* two = handle.makeSymbol("two");
  EXPECT_EQ(with(chain->_value, two), "symbols: the name \"one\" does not lead to symbol 0");
  table.remove("two");
  EXPECT_EQ(env->check(), "symbols: 2 symbols have numbers, 1 have names");
  table.add(two->getName(), two);
}

TEST_F(FreeMemoryCheck, FindsAnElementOfTheDestroyablesThatIsGone) {
  ASSERT_NE(env->_destroyables, nullptr);
  EXPECT_EQ(withFree(env->_destroyables->first), "destroyables: the list leads into free memory");
}

TEST_F(FreeMemoryCheck, FindsAnAlgorithmThatIsGone) {
  EXPECT_EQ(withFree(env->_algorithms),
            VakFaultText("algorithms: algorithm ", at(free), " is free memory"));
}

TEST_F(FreeMemoryCheck, FindsCellsPlugInsAndAddOnsThatAreGone) {
  VakPlugInManager& manager = *env->_plugInManager;
  auto* addOn = VakCreate<Quiet>(env);
  auto* told = VakCreate<Deaf>(env);
  manager.add(addOn, "red");
  manager.addNotified(told);
  EXPECT_EQ(withFree(manager.first), "plug-ins: the list of cells leads into free memory");
  EXPECT_EQ(withFree(manager.first->name), "plug-ins: a cell has no name");
  EXPECT_EQ(withFree(manager.first->plugIns),
            VakFaultText("plug-ins: cell \"red\": plug-in ", at(free), " is free memory"));
  EXPECT_EQ(withFree(manager.first->addons),
            VakFaultText("plug-ins: cell \"red\": add-on ", at(free), " is free memory"));
  EXPECT_EQ(with(addOn->_env, nullptr), VakFaultText("plug-ins: cell \"red\": add-on ", at(addOn),
                                                     " belongs to another environment"));
  EXPECT_EQ(withFree(manager.notified),
            "plug-ins: the list of notified plug-ins leads into free memory");
  EXPECT_EQ(withFree(manager.notified->plugIn),
            VakFaultText("plug-ins: notified plug-in ", at(free), " is free memory"));
  EXPECT_EQ(with(told->_env, nullptr), VakFaultText("plug-ins: notified plug-in ", at(told),
                                                    " belongs to another environment"));
  manager.removeNotified(told);
  delete told;
}

TEST_F(FreeMemoryCheck, FindsExtensionsAndSetsThatAreGone) {
  handle.setIntProperty("size", 3);
  VakExtension*& extension = env->_extension;
  const std::string gone = "properties: environment: the extension or its name is free memory";
  EXPECT_EQ(withFree(extension), gone);
  EXPECT_EQ(withFree(extension->_name), gone);
  EXPECT_EQ(withFree(extension->_objectExtension),
            "properties: environment: the object extension is free memory");
  EXPECT_EQ(withFree(extension->_objectExtension->_properties),
            "properties: environment: the set is free memory");
  EXPECT_EQ(withFree(env->getProperties()->_first),
            "properties: environment: the list leads into free memory");
  EXPECT_EQ(withFree(env->getProperties()->_first->_property),
            VakFaultText("properties: environment: property ", at(free), " is free memory"));
}

TEST_F(FreeMemoryCheck, FindsSharedDomainsThatAreGone) {
  env->getOrMakeSharedDomain(VakInt{2}, VakInt{5});
  VakIntSharedDomainHash& table = *env->_intDomains;
  EXPECT_EQ(withFree(table._buckets), "shared domains: integer: the buckets are free memory");
  auto& chain = chainOf(table);
  EXPECT_EQ(withFree(chain), "shared domains: integer: a chain leads into free memory");
  EXPECT_EQ(withFree(chain->_key),
            VakFaultText("shared domains: integer: range ", at(free), " is free memory"));
  EXPECT_EQ(withFree(chain->_value),
            VakFaultText("shared domains: integer: domain ", at(free), " is free memory"));
}

TEST_F(FreeMemoryCheck, FindsARecycleBinWhoseArraysAreGoneOrDisagree) {
  std::vector<std::string> found;
  script.onSweep = [&](VakTestNode&) {
    VakRecycleBinI& bin = *env->_recycleBin;
    const VakExtractableArray gone(static_cast<VakArrayI*>(free));
    found.push_back(with(bin.pending, gone));
    found.push_back(with(bin.deferred, gone));
    found.push_back(with(bin.pending[0]->id, 1000));
    bin.pending.add(nullptr);
    found.push_back(env->check());
    bin.pending.remove(1, 1);
  };
  auto* a = VakMakeNode(env, script, "A");
  VakMakeNode(env, script, "B", {a});
  env->removeFromAllAndDestroy(a, 0);
  script.onSweep = nullptr;
  found.resize(4);
  EXPECT_EQ(found[0], "recycle bin: pending: the array is free memory");
  EXPECT_EQ(found[1], "recycle bin: deferred: the array is free memory");
  EXPECT_EQ(found[2],
            VakFaultText("recycle bin: pending: element 0, ", at(a), ", is not registered"));
  EXPECT_EQ(found[3], "recycle bin: pending: the array has 2 elements, the roll 1");
}

// Entries and lists of classes are private to the typed lists; here they are words of memory.
TEST_F(FreeMemoryCheck, FindsBrokenChainsOfTypedLists) {
  constexpr int extractable = 0;  // An entry: extractable, list, newer, older.
  constexpr int newer = 2;
  constexpr int older = 3;
  env->_typedLists.switchOn(env);
  auto* a = VakMakeNode(env, script, "A");
  auto* b = VakMakeNode(env, script, "B");
  env->_typedLists.remove(a);
  env->_typedLists.remove(b);
  void** first = next(32);
  env->_typedLists.add(a);
  void** second = next(32);
  env->_typedLists.add(b);
  ASSERT_EQ(first[extractable], a);
  ASSERT_EQ(second[older], first);
  const std::string chain = "typed lists: the waiting chain";
  EXPECT_EQ(with(first[extractable], b),
            VakFaultText(chain, " has ", at(b), ", which the index does not lead to"));
  const std::string wrong = VakFaultText(chain, " has ", at(a), " with wrong links");
  EXPECT_EQ(with(first[newer], nullptr), wrong);
  EXPECT_EQ(with(first[1], first), wrong);
  EXPECT_EQ(with(second[older], second), VakFaultText(chain, " has ", at(b), " with wrong links"))
      << "a circle";
  EXPECT_EQ(with(second[older], nullptr),
            chain + " has 1 entries and counts 2, or its oldest is wrong");
  EXPECT_EQ(withFree(second[older]), chain + " leads into free memory");
}

TEST_F(FreeMemoryCheck, FindsBrokenListsOfClasses) {
  enum { Type, Earlier, Newest, Oldest, Length };  // The words of a list of a class.
  env->_typedLists.switchOn(env);
  VakMakeNode(env, script, "A");
  void** nodes = next(40);
  ASSERT_EQ(env->_typedLists.count(VakTestNode::GetTypeInfo()), 1);
  ASSERT_EQ(nodes[Type], reinterpret_cast<void*>(VakTestNode::GetTypeInfo()));
  VakCreate<OtherNode>(env, script, "B");
  void** others = next(40);
  ASSERT_EQ(env->_typedLists.count(OtherNode::GetTypeInfo()), 1);
  ASSERT_EQ(others[Earlier], nodes);
  EXPECT_EQ(with(nodes[Type], nullptr),
            "typed lists: the list of class number 2 is not in the index");
  EXPECT_EQ(withFree(others[Earlier]), "typed lists: the list of class number 2 is free memory");
  EXPECT_EQ(with(others[Earlier], nullptr), "typed lists: 1 classes have lists, the index has 2");
  EXPECT_EQ(with(nodes[Oldest], nullptr),
            "typed lists: the chain of a class has 1 entries and counts 1, or its oldest is wrong");
  const std::vector<void*> intact(nodes + Newest, nodes + Length + 1);
  std::fill(nodes + Newest, nodes + Length + 1, nullptr);
  EXPECT_EQ(env->check(), "typed lists: the lists hold 1 entries, the index 2");
  std::copy(intact.begin(), intact.end(), nodes + Newest);
}

TEST(CheckOfAnEndedEnvironment, SaysSo) {
  VakEnv handle;
  handle.getImpl()->end();
  EXPECT_EQ(handle.check(), "environment: it has ended");
  handle.end();
}

}  // namespace
