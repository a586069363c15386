// Sets of named properties, their handle and their exceptions.

#include "vakenv/properties/property_set.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/checking_allocator.h"
#include "tests/support/displayed.h"
#include "tests/support/scoped_env.h"
#include "vakbase/allocation_stack.h"
#include "vakenv/properties/typed_properties.h"
#include "vakenv/types/exceptions.h"
#include "vaksupport/stack_gen_alloc.h"
#include "vaksupport/symbol_table.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A set and properties in a memory manager that checks every block.
class PropertySet : public testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(allocator.ledger.mismatches, 0); }

  VakNamedIntPropertyI* make(const char* name, VakInt value = 0) {
    return VakCreate<VakNamedIntPropertyI>(VakMemoryManager(&allocator), name, value);
  }
  VakNamedPropertySetI* makeSet() {
    return VakCreate<VakNamedPropertySetI>(VakMemoryManager(&allocator));
  }

  VakCheckingAllocator allocator;
};

std::vector<std::string> namesIn(const VakNamedPropertySetI* set) {
  std::vector<std::string> names;
  for (const VakNamedProperty property : VakNamedPropertySet::Range(set)) {
    names.emplace_back(property.getName());
  }
  return names;
}

/// Leaves its name in a log when it is deleted.
class Mortal : public VakNamedIntPropertyI {
 public:
  Mortal(VakMemoryManager manager, const char* name, std::vector<std::string>* log)
      : VakNamedIntPropertyI(manager, name, 0), _log(log) {}
  ~Mortal() noexcept(false) override { _log->emplace_back(_name); }
  std::vector<std::string>* _log;
};

class Unclonable : public VakNamedPropertyI {
 public:
  explicit Unclonable(VakMemoryManager manager) : VakNamedPropertyI(manager) {}
  [[nodiscard]] const char* getName() const override { return "rigid"; }
};

// ---- Insertion ----------------------------------------------------------------------------------

TEST_F(PropertySet, IsEmptyAtFirst) {
  VakNamedPropertySetI* set = makeSet();
  EXPECT_EQ(set->_first, nullptr);
  EXPECT_EQ(set->_memoryManager, &allocator);
  EXPECT_TRUE(set->isConsistent());
  delete set;
  EXPECT_EQ(allocator.ledger.countBlocks(), 0);
}

TEST_F(PropertySet, HoldsThePropertyItselfOnceForEachEntry) {
  VakNamedPropertySetI* set = makeSet();
  VakNamedIntPropertyI* a = make("a");
  set->addProperty(a);
  EXPECT_EQ(set->getProperty("a"), a);
  EXPECT_EQ(a->_holders, 1);
  set->fastAdd(a);
  EXPECT_EQ(a->_holders, 2);
  delete set;
  EXPECT_EQ(allocator.ledger.countBlocks(), 0);
}

TEST_F(PropertySet, LinksTheNewestEntryInFront) {
  VakNamedPropertySetI* set = makeSet();
  for (const char* name : {"a", "b", "c"}) set->addProperty(make(name));
  EXPECT_THAT(namesIn(set), ElementsAre("c", "b", "a"));
  const auto* head = set->_first;
  EXPECT_EQ(head->_previous, nullptr);
  EXPECT_EQ(head->_next->_previous, head);
  EXPECT_EQ(head->_next->_next->_next, nullptr);
  EXPECT_TRUE(set->isConsistent());
  delete set;
}

TEST_F(PropertySet, RefusesAPropertyOfAnotherMemoryManagerBeforeItLooksAtTheName) {
  VakNamedPropertySetI* set = makeSet();
  set->addProperty(make("a"));
  VakCheckingAllocator other;
  auto* foreign = VakCreate<VakNamedIntPropertyI>(VakMemoryManager(&other), "a", 0L);
  EXPECT_EQ(VakMessageBy<VakEnvironmentMismatch>([&] { set->addProperty(foreign); }),
            "Environment mismatch");
  EXPECT_EQ(foreign->_holders, 0);
  EXPECT_THAT(namesIn(set), ElementsAre("a"));
  delete foreign;
  delete set;
}

TEST_F(PropertySet, RefusesANameThatIsTaken) {
  VakNamedPropertySetI* set = makeSet();
  set->addProperty(make("size"));
  VakNamedIntPropertyI* second = make("size");
  EXPECT_EQ(VakPrintedBy<VakNamedPropertySet::AlreadyPresent>([&] { set->addProperty(second); }),
            "Named property <size> already present");
  EXPECT_EQ(second->_holders, 0);
  EXPECT_THAT(namesIn(set), ElementsAre("size"));
  delete second;
  delete set;
  EXPECT_EQ(allocator.ledger.countBlocks(), 0);
}

TEST_F(PropertySet, AddsCopiesOfPropertiesOfOtherMemoryManagers) {
  VakNamedPropertySetI* set = makeSet();
  VakCheckingAllocator other;
  auto* foreign = VakCreate<VakNamedIntPropertyI>(VakMemoryManager(&other), "a", 7L);
  set->addClonedProperty(foreign);
  VakNamedPropertyI* copy = set->getProperty("a");
  EXPECT_NE(copy, foreign);
  EXPECT_EQ(copy->_memoryManager, &allocator);
  EXPECT_EQ(copy->_holders, 1);
  EXPECT_EQ(foreign->_holders, 0);
  EXPECT_EQ(VakDisplayed(*copy), "a (7)");
  delete foreign;
  delete set;
  EXPECT_EQ(allocator.ledger.countBlocks(), 0);
}

TEST_F(PropertySet, RefusesToCopyAPropertyWhoseNameIsTakenBeforeItCopies) {
  VakNamedPropertySetI* set = makeSet();
  VakNamedIntPropertyI* a = make("a");
  set->addProperty(a);
  const long requests = allocator.ledger.requests;
  EXPECT_EQ(VakPrintedBy<VakNamedPropertySet::AlreadyPresent>([&] { set->addClonedProperty(a); }),
            "Named property <a> already present");
  EXPECT_EQ(allocator.ledger.requests, requests);
  delete set;
}

TEST_F(PropertySet, StaysAsItIsWhenAPropertyCannotBeCopied) {
  VakNamedPropertySetI* set = makeSet();
  auto* rigid = VakCreate<Unclonable>(VakMemoryManager(&allocator));
  EXPECT_EQ(VakMessageBy<VakNamedPropertyI::Exception>([&] { set->addClonedProperty(rigid); }),
            "Cloning of VakNamedProperty forbidden - makeClone(VakEnv) has not been defined");
  EXPECT_THAT(namesIn(set), IsEmpty());
  delete rigid;
  delete set;
  EXPECT_EQ(allocator.ledger.countBlocks(), 0);
}

// ---- Lookup -------------------------------------------------------------------------------------

TEST_F(PropertySet, FindsAPropertyByItsTextWhateverThePointer) {
  VakNamedPropertySetI* set = makeSet();
  VakNamedIntPropertyI* a = make("size");
  set->addProperty(a);
  const std::string text = "size";
  EXPECT_EQ(set->getProperty(text.c_str()), a);
  EXPECT_EQ(set->getProperty(a->getName()), a);
  delete set;
}

TEST_F(PropertySet, FindsTheNewestOfSeveralPropertiesOfOneName) {
  VakNamedPropertySetI* set = makeSet();
  VakNamedIntPropertyI* first = make("a", 1);
  VakNamedIntPropertyI* second = make("a", 2);
  set->fastAdd(first);
  set->fastAdd(second);
  EXPECT_EQ(set->getProperty("a"), second);
  set->removeProperty("a");
  EXPECT_EQ(set->getProperty("a"), first);
  delete set;
}

TEST_F(PropertySet, NeverFindsANullName) {
  VakNamedPropertySetI* set = makeSet();
  set->addProperty(make(nullptr));
  const char* none = nullptr;
  EXPECT_EQ(set->getElem(none), nullptr);
  EXPECT_EQ(VakPrintedBy<VakNamedPropertySet::NotPresent>(
                [&] { static_cast<void>(set->getProperty(none)); }),
            "Named property <> not present");
  EXPECT_EQ(VakPrintedBy<VakNamedPropertySet::NotPresent>([&] { set->removeProperty(none); }),
            "Named property <> not present");
  delete set;
}

TEST_F(PropertySet, SkipsPropertiesWithoutANameWhenItLooksForOne) {
  VakNamedPropertySetI* set = makeSet();
  set->addProperty(make("a"));
  set->addProperty(make(nullptr));
  set->addProperty(make(nullptr));
  EXPECT_STREQ(set->getProperty("a")->getName(), "a");
  delete set;
}

TEST_F(PropertySet, SaysWhichNameIsMissing) {
  VakNamedPropertySetI* set = makeSet();
  const char name[] = "size";
  try {
    static_cast<void>(set->getProperty(name));
    FAIL();
  } catch (const VakNamedPropertySet::NotPresent& exception) {
    EXPECT_EQ(exception.getMessage(), name);
    EXPECT_EQ(exception._property, nullptr);
    EXPECT_EQ(VakPrinted(exception), "Named property <size> not present");
  }
  delete set;
}

TEST_F(PropertySet, FindsAnEntryByItsProperty) {
  VakNamedPropertySetI* set = makeSet();
  VakNamedIntPropertyI* a = make("a");
  VakNamedIntPropertyI* alike = make("a");
  set->addProperty(a);
  set->addProperty(make("b"));
  EXPECT_EQ(set->getElem(a), set->_first->_next);
  EXPECT_EQ(set->getElem(alike), nullptr);
  delete alike;
  delete set;
}

// ---- Removal ------------------------------------------------------------------------------------

TEST_F(PropertySet, RemovesTheFirstAMiddleAndTheLastEntry) {
  VakNamedPropertySetI* set = makeSet();
  for (const char* name : {"a", "b", "c", "d"}) set->addProperty(make(name));
  set->removeProperty("b");
  EXPECT_THAT(namesIn(set), ElementsAre("d", "c", "a"));
  EXPECT_TRUE(set->isConsistent());
  set->removeProperty("d");
  EXPECT_THAT(namesIn(set), ElementsAre("c", "a"));
  EXPECT_TRUE(set->isConsistent());
  set->removeProperty("a");
  EXPECT_THAT(namesIn(set), ElementsAre("c"));
  EXPECT_TRUE(set->isConsistent());
  set->removeProperty("c");
  EXPECT_THAT(namesIn(set), IsEmpty());
  EXPECT_EQ(allocator.ledger.countBlocks(), 1);
  delete set;
}

TEST_F(PropertySet, RemovesAllFromTheNewestToTheOldest) {
  std::vector<std::string> log;
  VakNamedPropertySetI* set = makeSet();
  for (const char* name : {"a", "b", "c"}) {
    set->addProperty(VakCreate<Mortal>(VakMemoryManager(&allocator), name, &log));
  }
  set->removeAllProperties();
  EXPECT_THAT(log, ElementsAre("c", "b", "a"));
  EXPECT_EQ(allocator.ledger.countBlocks(), 1);
  set->removeAllProperties();
  delete set;
}

TEST_F(PropertySet, LetsItsPropertiesGoWhenDeleted) {
  std::vector<std::string> log;
  VakNamedPropertySetI* set = makeSet();
  set->addProperty(VakCreate<Mortal>(VakMemoryManager(&allocator), "a", &log));
  delete set;
  EXPECT_THAT(log, ElementsAre("a"));
  EXPECT_EQ(allocator.ledger.countBlocks(), 0);
}

TEST_F(PropertySet, DeletesASharedPropertyWithItsLastHolder) {
  std::vector<std::string> log;
  VakNamedPropertySetI* first = makeSet();
  VakNamedPropertySetI* second = makeSet();
  auto* shared = VakCreate<Mortal>(VakMemoryManager(&allocator), "a", &log);
  first->addProperty(shared);
  second->addProperty(shared);
  EXPECT_EQ(shared->_holders, 2);
  first->removeProperty("a");
  EXPECT_THAT(log, IsEmpty());
  EXPECT_EQ(second->getProperty("a"), shared);
  second->removeProperty(shared);
  EXPECT_THAT(log, ElementsAre("a"));
  delete first;
  delete second;
  EXPECT_EQ(allocator.ledger.countBlocks(), 0);
}

TEST_F(PropertySet, RefusesTheDeletionOfAPropertyThatItHoldsAndKeepsItUsable) {
  VakNamedPropertySetI* set = makeSet();
  VakNamedIntPropertyI* a = make("a", 4);
  set->addProperty(a);
  EXPECT_EQ(VakMessageBy<VakWrongUsage>([&] { delete a; }), "Dangerous deletion of named property");
  EXPECT_EQ(VakDisplayed(*set->getProperty("a")), "a (4)");
  set->removeProperty(a);
  EXPECT_THAT(namesIn(set), IsEmpty());
  delete set;
  EXPECT_EQ(allocator.ledger.countBlocks(), 0);
}

TEST_F(PropertySet, ShowsTheAddressWhenARemovalByPropertyFails) {
  VakNamedPropertySetI* set = makeSet();
  VakNamedIntPropertyI* a = make("a");
  try {
    set->removeProperty(a);
    FAIL();
  } catch (const VakNamedPropertySet::NotPresent& exception) {
    EXPECT_STREQ(exception.getMessage(), "a");
    EXPECT_EQ(exception._property, a);
    EXPECT_EQ(VakPrinted(exception), "Named property <" + VakAddress(a) + "> not present");
  }
  delete a;
  delete set;
}

// ---- Clones -------------------------------------------------------------------------------------

TEST_F(PropertySet, KeepsItsOrderInAClone) {
  VakNamedPropertySetI* set = makeSet();
  for (const char* name : {"a", "b", "c"}) set->addProperty(make(name));
  VakCheckingAllocator other;
  VakNamedPropertySetI* clone = set->makeClone(VakMemoryManager(&other));
  EXPECT_THAT(namesIn(clone), ElementsAre("c", "b", "a"));
  EXPECT_EQ(clone->_memoryManager, &other);
  EXPECT_EQ(clone->_first->_property->_memoryManager, &other);
  EXPECT_EQ(set->_first->_property->_holders, 1);
  delete clone;
  EXPECT_EQ(other.ledger.countBlocks(), 3);
  EXPECT_EQ(other.ledger.mismatches, 0);
  delete set;
}

TEST_F(PropertySet, DoesNotHoldThePropertiesOfACloneNorLinkItsEntriesBack) {
  VakNamedPropertySetI* set = makeSet();
  for (const char* name : {"a", "b"}) set->addProperty(make(name));
  VakNamedPropertySetI* clone = set->makeClone(VakMemoryManager(&allocator));
  for (auto* entry = clone->_first; entry != nullptr; entry = entry->_next) {
    EXPECT_EQ(entry->_property->_holders, 0);
    EXPECT_EQ(entry->_previous, nullptr);
  }
  EXPECT_FALSE(clone->isConsistent());
  delete clone;
  delete set;
}

TEST_F(PropertySet, NeverDeletesThePropertiesOfAClone) {
  std::vector<std::string> log;
  VakNamedPropertySetI* set = makeSet();
  set->addProperty(make("a"));
  VakNamedPropertySetI* clone = set->makeClone(VakMemoryManager(&allocator));
  VakNamedPropertyI* copy = clone->getProperty("a");
  clone->removeProperty("a");
  EXPECT_EQ(copy->_holders, -1);
  EXPECT_EQ(VakDisplayed(*copy), "a (0)");
  EXPECT_THAT(namesIn(clone), IsEmpty());
  delete clone;
  delete set;
}

TEST_F(PropertySet, LeavesAMiddleEntryOfACloneLinkedAndAllocatedWhenItIsRemoved) {
  VakNamedPropertySetI* set = makeSet();
  for (const char* name : {"a", "b", "c"}) set->addProperty(make(name));
  VakNamedPropertySetI* clone = set->makeClone(VakMemoryManager(&allocator));
  const long blocks = allocator.ledger.countBlocks();
  VakNamedPropertyI* b = clone->getProperty("b");
  clone->removeProperty("b");
  EXPECT_EQ(b->_holders, -1);
  EXPECT_THAT(namesIn(clone), ElementsAre("c", "b", "a"));
  EXPECT_EQ(allocator.ledger.countBlocks(), blocks);
  clone->removeProperty("c");
  EXPECT_EQ(allocator.ledger.countBlocks(), blocks - 1);
  clone->removeProperty("b");
  EXPECT_EQ(b->_holders, -2);
  EXPECT_THAT(namesIn(clone), ElementsAre("a"));
  EXPECT_EQ(allocator.ledger.countBlocks(), blocks - 2);
  delete clone;
  delete set;
}

TEST_F(PropertySet, EmptiesACloneWithoutDeletingItsProperties) {
  VakNamedPropertySetI* set = makeSet();
  for (const char* name : {"a", "b", "c"}) set->addProperty(make(name));
  VakNamedPropertySetI* clone = set->makeClone(VakMemoryManager(&allocator));
  const long blocks = allocator.ledger.countBlocks();
  clone->removeAllProperties();
  EXPECT_THAT(namesIn(clone), IsEmpty());
  EXPECT_EQ(allocator.ledger.countBlocks(), blocks - 3);
  delete clone;
  delete set;
}

TEST_F(PropertySet, LinksAnEntryOfACloneBackOnceAnotherIsAddedInFront) {
  VakNamedPropertySetI* set = makeSet();
  for (const char* name : {"a", "b"}) set->addProperty(make(name));
  VakNamedPropertySetI* clone = set->makeClone(VakMemoryManager(&allocator));
  clone->addProperty(make("c"));
  clone->removeProperty("b");
  EXPECT_THAT(namesIn(clone), ElementsAre("c", "a"));
  clone->removeProperty("a");
  EXPECT_THAT(namesIn(clone), ElementsAre("c"));
  delete clone;
  delete set;
}

TEST_F(PropertySet, PassesTheRefusalOfAPropertyOnWhenItIsCloned) {
  VakNamedPropertySetI* set = makeSet();
  set->addProperty(VakCreate<Unclonable>(VakMemoryManager(&allocator)));
  EXPECT_THROW(static_cast<void>(set->makeClone(VakMemoryManager(&allocator))),
               VakNamedPropertyI::Exception);
  const long blocks = allocator.ledger.countBlocks();
  EXPECT_THROW(static_cast<void>(set->makeDeepCopy(VakMemoryManager(&allocator))),
               VakNamedPropertyI::Exception);
  EXPECT_EQ(allocator.ledger.countBlocks(), blocks);
  delete set;
}

TEST_F(PropertySet, IsDeeplyCopiedIntoAnOrdinarySet) {
  VakNamedPropertySetI* set = makeSet();
  for (const char* name : {"a", "b", "c"}) set->addProperty(make(name));
  VakCheckingAllocator other;
  VakNamedPropertySetI* copy = set->makeDeepCopy(VakMemoryManager(&other));
  EXPECT_THAT(namesIn(copy), ElementsAre("c", "b", "a"));
  EXPECT_TRUE(copy->isConsistent());
  EXPECT_EQ(copy->getProperty("b")->_memoryManager, &other);
  copy->removeProperty("b");
  EXPECT_THAT(namesIn(copy), ElementsAre("c", "a"));
  EXPECT_THAT(namesIn(set), ElementsAre("c", "b", "a"));
  delete copy;
  EXPECT_EQ(other.ledger.countBlocks(), 0);
  EXPECT_EQ(other.ledger.mismatches, 0);
  delete set;
}

TEST_F(PropertySet, IsCopiedIntoAnotherEnvironmentAndIntoAStackAllocator) {
  VakScopedEnv env;
  const VakScopedEnv other;
  const VakNamedPropertySet set(env.env.getMemoryManager());
  set.addProperty(VakNamedStringProperty(env.env, "colour", "red"));
  set.addProperty(VakNamedIntProperty(env.env, "size", 3));
  const VakNamedPropertySet copy = set.makeDeepCopy(other.env);
  set.removeProperty("colour");
  VakAllocationStack stack;
  VakStackGenAlloc allocatorOnStack(&stack, other.impl()->_symbolTable);
  VakNamedPropertySet onStack = set.makeDeepCopy(&allocatorOnStack);
  env.env.end();
  EXPECT_STREQ(copy.getProperty<const char*>("colour"), "red");
  EXPECT_EQ(copy.getProperty<VakInt>("size"), 3);
  EXPECT_EQ(onStack.getProperty<VakInt>("size"), 3);
  onStack.end();
}

// ---- The handle ---------------------------------------------------------------------------------

TEST(PropertySetHandle, ForwardsToTheSet) {
  const VakScopedEnv env;
  VakNamedPropertySet set(env.env.getMemoryManager());
  const VakNamedIntProperty size(env.env, "size", 3);
  set.addProperty(size);
  set.addClonedProperty(VakNamedNumProperty(env.env, "gap", 0.5));
  set.fastAdd(VakNamedStringProperty(env.env, "size", "large"));
  EXPECT_TRUE(set.hasProperty("gap"));
  EXPECT_FALSE(set.hasProperty("none"));
  EXPECT_TRUE(set.hasProperty(size));
  EXPECT_FALSE(set.hasProperty(VakNamedIntProperty(env.env, "size", 3)));
  EXPECT_EQ(VakDisplayed(*set.getProperty("size").getImpl()), "size(large)");
  set.removeProperty("size");
  EXPECT_TRUE(set.getProperty("size") == size);
  set.removeProperty(size);
  EXPECT_FALSE(set.hasProperty("size"));
  EXPECT_TRUE(set.makeClone(env.env).hasProperty("gap"));
  EXPECT_TRUE(set.makeDeepCopy(env.env).hasProperty("gap"));
  set.removeAllProperties();
  EXPECT_FALSE(set.hasProperty("gap"));
  set.end();
  EXPECT_EQ(set.getImpl(), nullptr);
}

TEST(PropertySetHandle, GivesValuesByTheirType) {
  const VakScopedEnv env;
  const VakNamedPropertySet set(env.env.getMemoryManager());
  int object = 0;
  set.addProperty(VakNamedIntProperty(env.env, "i", 3));
  set.addProperty(VakNamedNumProperty(env.env, "n", 0.5));
  set.addProperty(VakNamedAnyProperty(env.env, "a", &object));
  set.addProperty(VakNamedStringProperty(env.env, "s", "abc"));
  EXPECT_EQ(set.getProperty<VakInt>("i"), 3);
  EXPECT_EQ(set.getProperty<int>("i"), 3L);
  EXPECT_EQ(set.getProperty<double>("n"), 0.5);
  EXPECT_EQ(set.getProperty<void*>("a"), &object);
  EXPECT_STREQ(set.getProperty<const char*>("s"), "abc");
  EXPECT_EQ(set.getProperty("i", 9), 3L);
  EXPECT_EQ(set.getProperty("none", 9), 9L);
  EXPECT_EQ(set.getProperty("none", 1.5), 1.5);
  EXPECT_STREQ(set.getProperty("none", "text"), "text");
  EXPECT_EQ(VakPrintedBy<VakNamedPropertySet::BadType>(
                [&] { static_cast<void>(set.getProperty<double>("i")); }),
            "Named property <i> has wrong type");
  EXPECT_EQ(VakPrintedBy<VakNamedPropertySet::BadType>(
                [&] { static_cast<void>(set.getProperty("i", 1.5)); }),
            "Named property <i> has wrong type");
  EXPECT_EQ(VakPrintedBy<VakNamedPropertySet::NotPresent>(
                [&] { static_cast<void>(set.getProperty<double>("none")); }),
            "Named property <none> not present");
}

TEST(PropertySetHandle, IsWalkedNewestFirstWhileThePresentPropertyIsRemoved) {
  const VakScopedEnv env;
  const VakNamedPropertySet set(env.env.getMemoryManager());
  for (const char* name : {"a", "b", "c"}) set.addProperty(VakNamedIntProperty(env.env, name, 1));
  std::string seen;
  for (const VakNamedProperty property : set.all()) {
    seen += property.getName();
    set.removeProperty(property);
    set.addProperty(VakNamedIntProperty(env.env, (seen + "!").c_str(), 1));
  }
  EXPECT_EQ(seen, "cba");
  EXPECT_THAT(namesIn(set.getImpl()), ElementsAre("cba!", "cb!", "c!"));
}

TEST(PropertySetHandle, HasNothingToWalkWhenItIsEmpty) {
  for (const VakNamedProperty property : VakNamedPropertySet().all()) {
    FAIL() << property;
  }
}

TEST(PropertySetHandle, NamesItselfWhenItIsEmpty) {
  VakNamedPropertySet empty;
  const VakNamedProperty property;
  const auto messageOf = [](auto attempt) {
    return VakMessageBy<VakEmptyHandleException>(attempt);
  };
  const std::string text = "VakNamedPropertySet: Using empty handle";
  const VakMemoryManager manager;
  EXPECT_EQ(messageOf([&] { empty.removeAllProperties(); }), text);
  EXPECT_EQ(messageOf([&] { static_cast<void>(empty.getProperty("a")); }), text);
  EXPECT_EQ(messageOf([&] { static_cast<void>(empty.getProperty<double>("a")); }), text);
  EXPECT_EQ(messageOf([&] { static_cast<void>(empty.hasProperty("a")); }), text);
  EXPECT_EQ(messageOf([&] { empty.removeProperty("a"); }), text);
  EXPECT_EQ(messageOf([&] { static_cast<void>(empty.makeClone(manager)); }), text);
  EXPECT_EQ(messageOf([&] { static_cast<void>(empty.makeDeepCopy(manager)); }), text);
  EXPECT_EQ(messageOf([&] { empty.addProperty(property); }), text);
  EXPECT_EQ(messageOf([&] { empty.end(); }), text);
}

TEST(PropertySetHandle, NamesAnEmptyPropertyHandle) {
  const VakScopedEnv env;
  const VakNamedPropertySet set(env.env.getMemoryManager());
  const VakNamedProperty property;
  const auto messageOf = [](auto attempt) {
    return VakMessageBy<VakEmptyHandleException>(attempt);
  };
  const std::string text = "VakNamedProperty: Using empty handle";
  EXPECT_EQ(messageOf([&] { set.fastAdd(property); }), text);
  EXPECT_EQ(messageOf([&] { set.addProperty(property); }), text);
  EXPECT_EQ(messageOf([&] { set.addClonedProperty(property); }), text);
  EXPECT_EQ(messageOf([&] { set.removeProperty(property); }), text);
  EXPECT_EQ(messageOf([&] { static_cast<void>(set.hasProperty(property)); }), text);
}

// ---- Exceptions ---------------------------------------------------------------------------------

TEST(PropertySetExceptions, PrintTheirTextsWithoutAnEndOfLine) {
  const VakScopedEnv env;
  const VakNamedIntProperty property(env.env, "size", 3);
  EXPECT_EQ(VakPrinted(VakNamedPropertySet::BadType("size")),
            "Named property <size> has wrong type");
  EXPECT_EQ(VakPrinted(VakNamedPropertySet::AlreadyPresent("size")),
            "Named property <size> already present");
  EXPECT_EQ(VakPrinted(VakNamedPropertySet::NotPresent("size", nullptr)),
            "Named property <size> not present");
  EXPECT_EQ(VakPrinted(VakNamedPropertySet::NotPresent("size", property.getImpl())),
            "Named property <" + VakAddress(property.getImpl()) + "> not present");
}

TEST(PropertySetExceptions, WriteNothingForANullName) {
  EXPECT_EQ(VakPrinted(VakNamedPropertySet::BadType(nullptr)), "Named property <> has wrong type");
  EXPECT_EQ(VakPrinted(VakNamedPropertySet::AlreadyPresent(nullptr)),
            "Named property <> already present");
  EXPECT_EQ(VakPrinted(VakNamedPropertySet::NotPresent(nullptr, nullptr)),
            "Named property <> not present");
}

TEST(PropertySetExceptions, KeepTheCallersPointerAsTheirMessage) {
  const char name[] = "size";
  EXPECT_EQ(VakNamedPropertySet::BadType(name).getMessage(), name);
  EXPECT_EQ(VakNamedPropertySet::AlreadyPresent(name).getMessage(), name);
  EXPECT_EQ(VakNamedPropertySet::NotPresent(name, nullptr).getMessage(), name);
}

}  // namespace
