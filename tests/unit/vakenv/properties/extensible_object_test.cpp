// Name, user object and properties of the three owners.

#include "vakenv/properties/extensible_object.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/checking_allocator.h"
#include "tests/support/checking_local_env.h"
#include "tests/support/displayed.h"
#include "tests/support/property_owners.h"
#include "vakbase/allocation_stack.h"
#include "vakenv/properties/property_set.h"
#include "vakenv/types/exceptions.h"
#include "vaksupport/stack_gen_alloc.h"
#include "vaksupport/symbol_table.h"

namespace {

using testing::ElementsAre;

template <class Owner>
class PropertyOwner : public testing::Test {
 protected:
  [[nodiscard]] VakEnv env() const { return holder.env.env; }
  [[nodiscard]] VakInt usage() const { return holder.env.env.getMemoryUsage(); }
  [[nodiscard]] auto* owner() { return holder.owner; }
  [[nodiscard]] VakNamedIntPropertyI* make(const char* name, VakInt value = 1) const {
    return VakNamedIntProperty(env(), name, value).getImpl();
  }
  [[nodiscard]] VakNamedPropertySetI* makeSet() const {
    return VakNamedPropertySet(env().getMemoryManager()).getImpl();
  }
  [[nodiscard]] std::vector<std::string> contents() {
    std::vector<std::string> texts;
    for (const VakNamedProperty p : VakNamedPropertySet::Range(owner()->getProperties())) {
      texts.push_back(VakDisplayed(*p.getImpl()));
    }
    return texts;
  }

  Owner holder;
};

TYPED_TEST_SUITE(PropertyOwner, VakPropertyOwners, VakPropertyOwnerName);

// ---- Nothing yet --------------------------------------------------------------------------------

TYPED_TEST(PropertyOwner, HasNothingAtFirstAndAskingMakesNothing) {
  const VakInt usage = this->usage();
  EXPECT_EQ(this->owner()->getName(), nullptr);
  EXPECT_EQ(this->owner()->getObject(), nullptr);
  EXPECT_EQ(this->owner()->getProperties(), nullptr);
  EXPECT_EQ(this->owner()->hasProperty("a"), 0);
  EXPECT_EQ(VakPrintedBy<VakNamedPropertySet::NotPresent>(
                [&] { static_cast<void>(this->owner()->getProperty("a")); }),
            "Named property <a> not present");
  EXPECT_EQ(this->owner()->_extension, nullptr);
  EXPECT_EQ(this->usage(), usage);
}

TYPED_TEST(PropertyOwner, MakesNothingToClearWhatItDoesNotHave) {
  this->owner()->setName(nullptr);
  this->owner()->setObject(nullptr);
  this->owner()->setProperties(nullptr);
  this->owner()->addProperties(nullptr);
  this->owner()->removeAllProperties();
  EXPECT_EQ(this->owner()->_extension, nullptr);
}

TYPED_TEST(PropertyOwner, SaysWhatIsMissingWhenItHasNoSet) {
  VakNamedIntPropertyI* property = this->make("a");
  const auto byName = [&] { this->owner()->removeProperty("a"); };
  const auto byProperty = [&] { this->owner()->removeProperty(property); };
  const std::string address = "Named property <" + VakAddress(property) + "> not present";
  EXPECT_EQ(VakPrintedBy<VakNamedPropertySet::NotPresent>(byName),
            "Named property <a> not present");
  EXPECT_EQ(VakPrintedBy<VakNamedPropertySet::NotPresent>(byProperty), address);
  EXPECT_EQ(VakMessageBy<VakNamedPropertySet::NotPresent>(byProperty), "a");
  this->owner()->setName("named");
  EXPECT_EQ(VakPrintedBy<VakNamedPropertySet::NotPresent>(byName),
            "Named property <a> not present");
  EXPECT_EQ(VakPrintedBy<VakNamedPropertySet::NotPresent>(byProperty), address);
  EXPECT_EQ(VakPrintedBy<VakNamedPropertySet::NotPresent>(
                [&] { static_cast<void>(this->owner()->getIntProperty("a")); }),
            "Named property <a> not present");
}

// ---- Name and object ----------------------------------------------------------------------------

TYPED_TEST(PropertyOwner, KeepsACopyOfItsName) {
  char name[] = "model";
  this->owner()->setName(name);
  name[0] = 'n';
  EXPECT_STREQ(this->owner()->getName(), "model");
  this->owner()->setName(this->owner()->getName() + 2);
  EXPECT_STREQ(this->owner()->getName(), "del");
  VakExtension* extension = this->owner()->_extension;
  this->owner()->setName(nullptr);
  EXPECT_EQ(this->owner()->getName(), nullptr);
  EXPECT_EQ(this->owner()->_extension, extension);
}

TYPED_TEST(PropertyOwner, KeepsItsUserObjectBesideItsName) {
  int object = 0;
  this->owner()->setObject(&object);
  EXPECT_EQ(this->owner()->getObject(), &object);
  EXPECT_EQ(this->owner()->getName(), nullptr);
  this->owner()->setName("model");
  this->owner()->setObject(nullptr);
  EXPECT_EQ(this->owner()->getObject(), nullptr);
  EXPECT_STREQ(this->owner()->getName(), "model");
}

// ---- Properties ---------------------------------------------------------------------------------

TYPED_TEST(PropertyOwner, SharesAndCopiesProperties) {
  VakNamedIntPropertyI* a = this->make("a");
  this->owner()->addProperty(a);
  EXPECT_EQ(this->owner()->getProperty("a"), a);
  EXPECT_EQ(a->_holders, 1);
  EXPECT_EQ(this->owner()->hasProperty("a"), 1);
  EXPECT_EQ(this->owner()->hasProperty("b"), 0);
  EXPECT_EQ(this->owner()->hasProperty(nullptr), 0);
  VakNamedIntPropertyI* b = this->make("b", 2);
  this->owner()->addClonedProperty(b);
  EXPECT_NE(this->owner()->getProperty("b"), b);
  EXPECT_THAT(this->contents(), ElementsAre("b (2)", "a (1)"));
}

TYPED_TEST(PropertyOwner, SharesAPropertyWithAnotherOwner) {
  VakExtensibleRttiEnvObjectI* other = VakCreate<VakExtensibleRttiEnvObjectI>(this->env());
  VakNamedIntPropertyI* shared = this->make("a");
  this->owner()->addProperty(shared);
  other->addProperty(shared);
  EXPECT_EQ(shared->_holders, 2);
  this->owner()->removeProperty("a");
  EXPECT_EQ(other->getIntProperty("a"), 1);
  delete other;
}

TYPED_TEST(PropertyOwner, RefusesPropertiesOfAnotherEnvironmentButCopiesThem) {
  const VakScopedEnv other;
  VakNamedIntProperty foreign(other.env, "a", 5);
  EXPECT_EQ(
      VakMessageBy<VakEnvironmentMismatch>([&] { this->owner()->addProperty(foreign.getImpl()); }),
      "Environment mismatch");
  this->owner()->addClonedProperty(foreign.getImpl());
  foreign.end();
  EXPECT_THAT(this->contents(), ElementsAre("a (5)"));
}

TYPED_TEST(PropertyOwner, RefusesANameThatIsTaken) {
  this->owner()->addProperty(this->make("a"));
  VakNamedIntPropertyI* second = this->make("a", 2);
  const std::string text = "Named property <a> already present";
  EXPECT_EQ(VakPrintedBy<VakNamedPropertySet::AlreadyPresent>(
                [&] { this->owner()->addProperty(second); }),
            text);
  EXPECT_EQ(VakPrintedBy<VakNamedPropertySet::AlreadyPresent>(
                [&] { this->owner()->addClonedProperty(second); }),
            text);
  EXPECT_THAT(this->contents(), ElementsAre("a (1)"));
}

TYPED_TEST(PropertyOwner, RemovesByNameAndByProperty) {
  VakNamedIntPropertyI* a = this->make("a");
  this->owner()->addProperty(a);
  this->owner()->addProperty(this->make("b"));
  this->owner()->removeProperty(a);
  this->owner()->removeProperty("b");
  EXPECT_THAT(this->contents(), ElementsAre());
  EXPECT_EQ(
      VakPrintedBy<VakNamedPropertySet::NotPresent>([&] { this->owner()->removeProperty("b"); }),
      "Named property <b> not present");
}

TYPED_TEST(PropertyOwner, CopiesTheSetOfAnotherEnvironment) {
  const VakScopedEnv other;
  const VakNamedPropertySet set(other.env.getMemoryManager());
  set.addProperty(VakNamedStringProperty(other.env, "colour", "red"));
  set.addProperty(VakNamedIntProperty(other.env, "size", 3));
  this->owner()->addProperties(set.getImpl());
  EXPECT_THAT(this->contents(), ElementsAre("colour(red)", "size (3)"));
  EXPECT_THAT(set.getProperty("size").getImpl()->_holders, 1);
}

TYPED_TEST(PropertyOwner, KeepsWhatItCopiedBeforeADuplicateStopsTheCopying) {
  const VakNamedPropertySet set(this->env().getMemoryManager());
  for (const char* name : {"a", "b", "c"}) {
    set.addProperty(VakNamedIntProperty(this->env(), name, 2));
  }
  this->owner()->addProperty(this->make("b"));
  EXPECT_EQ(VakPrintedBy<VakNamedPropertySet::AlreadyPresent>(
                [&] { this->owner()->addProperties(set.getImpl()); }),
            "Named property <b> already present");
  EXPECT_THAT(this->contents(), ElementsAre("c (2)", "b (1)"));
}

TYPED_TEST(PropertyOwner, StopsAtOnceWhenItIsToCopyItsOwnSet) {
  this->owner()->addProperty(this->make("a"));
  EXPECT_EQ(VakPrintedBy<VakNamedPropertySet::AlreadyPresent>(
                [&] { this->owner()->addProperties(this->owner()->getProperties()); }),
            "Named property <a> already present");
  EXPECT_THAT(this->contents(), ElementsAre("a (1)"));
}

TYPED_TEST(PropertyOwner, TakesOverASetAndDeletesTheOldOne) {
  for (const char* name : {"old", "new"}) static_cast<void>(this->env().getImpl()->intern(name));
  this->owner()->setObject(this);
  const VakInt usage = this->usage();
  this->owner()->addProperty(this->make("old"));
  const VakInt usageOfOne = this->usage();
  VakNamedPropertySetI* set = this->makeSet();
  set->addProperty(this->make("new"));
  this->owner()->setProperties(set);
  EXPECT_EQ(this->owner()->getProperties(), set);
  EXPECT_THAT(this->contents(), ElementsAre("new (1)"));
  EXPECT_EQ(this->usage(), usageOfOne);
  this->owner()->setProperties(nullptr);
  EXPECT_EQ(this->owner()->getProperties(), nullptr);
  EXPECT_EQ(this->owner()->getObject(), this);
  EXPECT_EQ(this->usage(), usage);
}

TYPED_TEST(PropertyOwner, StartsAFreshSetAfterAllPropertiesWereRemoved) {
  this->owner()->addProperty(this->make("a"));
  this->owner()->removeAllProperties();
  EXPECT_EQ(this->owner()->getProperties(), nullptr);
  EXPECT_NE(this->owner()->_extension, nullptr);
  EXPECT_EQ(this->owner()->hasProperty("a"), 0);
  this->owner()->addProperty(this->make("b"));
  EXPECT_THAT(this->contents(), ElementsAre("b (1)"));
}

// ---- Typed values -------------------------------------------------------------------------------

TYPED_TEST(PropertyOwner, SetsAndGetsTheFourKinds) {
  int object = 0;
  this->owner()->setIntProperty("i", 3);
  this->owner()->setNumProperty("n", 0.5);
  this->owner()->setAnyProperty("a", &object);
  this->owner()->setStringProperty("s", "abc");
  EXPECT_EQ(this->owner()->getIntProperty("i"), 3);
  EXPECT_EQ(this->owner()->getNumProperty("n"), 0.5);
  EXPECT_EQ(this->owner()->getAnyProperty("a"), &object);
  EXPECT_STREQ(this->owner()->getStringProperty("s"), "abc");
  EXPECT_EQ(this->owner()->getProperty("i")->_memoryManager,
            this->env().getMemoryManager().getImpl());
}

TYPED_TEST(PropertyOwner, ChangesAnExistingPropertyInPlace) {
  this->owner()->setIntProperty("i", 3);
  const VakNamedPropertyI* property = this->owner()->getProperty("i");
  this->owner()->setIntProperty("i", 4);
  EXPECT_EQ(this->owner()->getProperty("i"), property);
  EXPECT_EQ(this->owner()->getIntProperty("i"), 4);
}

TYPED_TEST(PropertyOwner, RefusesAnotherKindAndLeavesTheValue) {
  this->owner()->setIntProperty("i", 3);
  const std::string text = "Named property <i> has wrong type";
  using BadType = VakNamedPropertySet::BadType;
  EXPECT_EQ(VakPrintedBy<BadType>([&] { this->owner()->setNumProperty("i", 1.5); }), text);
  EXPECT_EQ(VakPrintedBy<BadType>([&] { this->owner()->setAnyProperty("i", nullptr); }), text);
  EXPECT_EQ(VakPrintedBy<BadType>([&] { this->owner()->setStringProperty("i", "x"); }), text);
  EXPECT_EQ(VakPrintedBy<BadType>([&] { static_cast<void>(this->owner()->getNumProperty("i")); }),
            text);
  EXPECT_EQ(
      VakPrintedBy<BadType>([&] { static_cast<void>(this->owner()->getStringProperty("i")); }),
      text);
  EXPECT_EQ(VakPrintedBy<BadType>([&] { static_cast<void>(this->owner()->getAnyProperty("i")); }),
            text);
  EXPECT_EQ(this->owner()->getIntProperty("i"), 3);
}

TYPED_TEST(PropertyOwner, LendsTheTextOfAStringPropertyInsteadOfCopyingIt) {
  this->owner()->setStringProperty("s", "abc");
  const auto* property = static_cast<VakNamedStringPropertyI*>(this->owner()->getProperty("s"));
  EXPECT_EQ(this->owner()->getStringProperty("s"), property->_value);
}

TYPED_TEST(PropertyOwner, RefusesToSetANewPropertyIntoASetOfAnotherMemoryManager) {
  const VakScopedEnv other;
  VakNamedPropertySet set(other.env.getMemoryManager());
  set.addProperty(VakNamedIntProperty(other.env, "old", 1));
  this->owner()->setProperties(set.getImpl());
  static_cast<void>(this->env().getImpl()->intern("i"));
  const VakInt usage = this->usage();
  EXPECT_EQ(VakMessageBy<VakEnvironmentMismatch>([&] { this->owner()->setIntProperty("i", 3); }),
            "Environment mismatch");
  EXPECT_EQ(VakMessageBy<VakEnvironmentMismatch>(
                [&] { this->owner()->setStringProperty("i", "a text of some length"); }),
            "Environment mismatch");
  EXPECT_EQ(this->usage(), usage);
  this->owner()->setIntProperty("old", 2);
  EXPECT_THAT(this->contents(), ElementsAre("old (2)"));
  this->holder.end();
}

TYPED_TEST(PropertyOwner, FillsHandlesAndValuesThroughTheTemplates) {
  this->owner()->setIntProperty("i", 3);
  const auto* owner = this->owner();
  VakNamedIntProperty handle;
  VakGetPropertyI<VakNamedIntProperty>("i", owner, handle);
  EXPECT_EQ(handle.getImpl(), owner->getProperty("i"));
  VakInt value = 0;
  VakGetPropertyValueI<VakNamedIntProperty>("i", owner, value);
  EXPECT_EQ(value, 3);
  VakSetPropertyValueI<VakNamedIntProperty>("i", this->owner(), 4L);
  EXPECT_EQ(handle.getValue(), 4);
  VakNamedNumProperty wrong;
  EXPECT_EQ(VakMessageBy<VakNamedPropertySet::BadType>(
                [&] { VakGetPropertyI<VakNamedNumProperty>("i", owner, wrong); }),
            "i");
}

TYPED_TEST(PropertyOwner, FindsADerivedKindToBeOfItsKind) {
  struct Special : VakNamedIntPropertyI {
    using VakNamedIntPropertyI::VakNamedIntPropertyI;
  };
  this->owner()->addProperty(VakCreate<Special>(this->env().getMemoryManager(), "i", 8L));
  EXPECT_EQ(this->owner()->getIntProperty("i"), 8);
}

// ---- Sets of other memory managers --------------------------------------------------------------

TYPED_TEST(PropertyOwner, TakesOverASetOfAnotherMemoryManagerIntoAnExtensionOfItsOwn) {
  VakCheckingAllocator foreign;
  auto* set = VakCreate<VakNamedPropertySetI>(VakMemoryManager(&foreign));
  set->addProperty(VakCreate<VakNamedIntPropertyI>(VakMemoryManager(&foreign), "i", 3L));
  const long blocks = foreign.ledger.countBlocks();
  {
    VakCheckedPath path(this->env().getImpl());
    this->owner()->setProperties(set);
    EXPECT_EQ(foreign.ledger.countBlocks(), blocks);
    EXPECT_EQ(path.ledger().countBlocks(), 2);
    EXPECT_EQ(this->owner()->getIntProperty("i"), 3);
    this->owner()->removeAllProperties();
    EXPECT_EQ(foreign.ledger.countBlocks(), 0);
    EXPECT_EQ(foreign.ledger.mismatches, 0);
    EXPECT_EQ(path.ledger().mismatches, 0);
  }
  this->holder.end();
}

// ---- End ----------------------------------------------------------------------------------------

/// What the two extensible classes give back when they are deleted.
template <class Owner>
void expectEverythingGivenBack() {
  Owner holder;
  VakEnvI* impl = holder.env.impl();
  for (const char* text : {"i", "s", "b"}) static_cast<void>(impl->intern(text));
  VakCheckedPath path(impl);
  holder.owner->setName("a name of some length");
  holder.owner->setObject(&holder);
  holder.owner->setIntProperty("i", 3);
  holder.owner->setStringProperty("s", "a text");
  EXPECT_EQ(path.ledger().countBlocks(), 9);
  VakNamedIntProperty shared(holder.env.env, "b", 1);
  ++shared.getImpl()->_holders;
  holder.owner->addProperty(shared.getImpl());
  holder.end();
  EXPECT_EQ(shared.getImpl()->_holders, 1);
  EXPECT_EQ(path.ledger().countBlocks(), 1);
  EXPECT_EQ(path.ledger().mismatches, 0);
}

TEST(ExtensibleObject, GivesEverythingBackWhenItIsDeleted) {
  expectEverythingGivenBack<VakEnvObjectOwner>();
  expectEverythingGivenBack<VakManagerObjectOwner>();
}

TEST(ExtensibleObject, PaysOnePointerUntilItIsUsed) {
  EXPECT_EQ(VakExtensibleRttiEnvObjectI::GetExtractableSize(), 24);
  EXPECT_EQ(VakExtensibleRttiMemoryManagerObjectI::GetExtractableSize(), 24);
  const VakScopedEnv env;
  const auto* object = VakCreate<VakExtensibleRttiEnvObjectI>(env.impl());
  const auto* bytes = reinterpret_cast<const char*>(object);
  EXPECT_EQ(reinterpret_cast<const char*>(&object->_env) - bytes, 8);
  EXPECT_EQ(reinterpret_cast<const char*>(&object->_extension) - bytes, 16);
}

TEST(ExtensibleObject, TakesPartInTheTypeSystem) {
  EXPECT_STREQ(VakExtensibleRttiEnvObjectI::GetRttiTypeName(), "VakExtensibleRttiEnvObjectI");
  EXPECT_STREQ(VakExtensibleRttiMemoryManagerObjectI::GetRttiTypeName(),
               "VakExtensibleRttiMemoryManagerObjectI");
  EXPECT_EQ(VakGetBaseTypeInfo(VakExtensibleRttiEnvObjectI::GetTypeInfo()),
            VakRttiEnvObjectI::GetTypeInfo());
  EXPECT_EQ(VakGetBaseTypeInfo(VakExtensibleRttiMemoryManagerObjectI::GetTypeInfo()),
            VakRttiMemoryManagerObjectI::GetTypeInfo());
}

TEST(ExtensibleObject, LivesInAStackAllocator) {
  const VakScopedEnv env;
  VakAllocationStack stack;
  VakStackGenAlloc allocator(&stack, env.impl()->_symbolTable);
  auto* object = VakCreate<VakExtensibleRttiMemoryManagerObjectI>(VakMemoryManager(&allocator));
  object->setName("temporary");
  object->setIntProperty("i", 3);
  EXPECT_STREQ(object->getName(), "temporary");
  EXPECT_EQ(object->getIntProperty("i"), 3);
  EXPECT_EQ(object->getProperty<VakInt>("i"), 3);
  EXPECT_EQ(object->getProperty("j", 4), 4);
  delete object;
}

TEST(ExtensibleObject, WithoutAnEnvironmentIsDestroyedAsLongAsItCarriesNothing) {
  const VakExtensibleRttiEnvObjectI object(nullptr);
  EXPECT_EQ(object.hasProperty("a"), 0);
}

TEST(EnvironmentProperties, EndWithTheEnvironment) {
  struct Witness : VakNamedIntPropertyI {
    Witness(VakMemoryManager manager, const char* name, bool* gone)
        : VakNamedIntPropertyI(manager, name, 0), isGone(gone) {}
    ~Witness() noexcept(false) override { *isGone = true; }
    bool* isGone;
  };
  bool isGone = false;
  VakScopedEnv env;
  env.env.setName("environment");
  env.env.addProperty(
      VakNamedProperty(VakCreate<Witness>(env.env.getMemoryManager(), "w", &isGone)));
  env.env.end();
  EXPECT_TRUE(isGone);
}

}  // namespace
